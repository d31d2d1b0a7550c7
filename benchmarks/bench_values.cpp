// Hashes, distances and per-device-type facts.
#include <foundation/core/murmur_hash3.h>
#include <foundation/datatypes/data_type.h>
#include <foundation/datatypes/geo_coordinate.h>

#include <QtPositioning/QGeoCoordinate>

#include <benchmark/benchmark.h>
#include <murmurhash.h>

#include <array>
#include <vector>

namespace {

void hashOurs(benchmark::State& state)
{
    const QByteArray data(static_cast<int>(state.range(0)), 'k');
    unsigned int seed = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(seed = murmurHash3_x86_32(data.constData(), data.size(), seed));
}

void hashPeer(benchmark::State& state)
{
    const QByteArray data(static_cast<int>(state.range(0)), 'k');
    uint32_t seed = 0;
    for (auto _ : state) {
        lmmh_x86_32(data.constData(), static_cast<unsigned int>(data.size()), seed, &seed);
        benchmark::DoNotOptimize(seed);
    }
}

std::array<std::pair<double, double>, 64> places()
{
    std::array<std::pair<double, double>, 64> result;
    for (size_t i = 0; i < result.size(); ++i)
        result[i] = {-80 + 2.5 * static_cast<double>(i), -170 + 5.3 * static_cast<double>(i)};
    return result;
}

template<typename Coordinate>
void distance(benchmark::State& state)
{
    std::vector<Coordinate> coordinates;
    for (const auto& [latitude, longitude] : places())
        coordinates.emplace_back(latitude, longitude);
    size_t i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(coordinates[i % 64].distanceTo(coordinates[(i + 17) % 64]));
        ++i;
    }
}

std::vector<CDataType::DeviceType> types()
{
    std::vector<CDataType::DeviceType> result;
    for (int i = 0; i < 256; ++i)
        result.push_back(CDataType::deviceTypeCast((i * 37) % 133));
    return result;
}

template<typename Fact>
void fact(benchmark::State& state, Fact look)
{
    const std::vector<CDataType::DeviceType> values = types();
    size_t i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(look(values[i++ % 256]));
}

// The peer: what a program that kept its own array would do, behind a call as ours is.
std::array<int, 133> array{};
[[gnu::noinline]] int arrayLookUp(CDataType::DeviceType type)
{
    const auto index = static_cast<unsigned int>(type);
    return index < array.size() ? array[index] : 0;
}

} // namespace

BENCHMARK(hashOurs)->Name("murmurhash3/ours")->Arg(16)->Arg(1024)->Arg(1 << 18)->Arg(1 << 20)->Arg(1 << 22);
BENCHMARK(hashPeer)->Name("murmurhash3/libmurmurhash")->Arg(16)->Arg(1024)->Arg(1 << 20);
BENCHMARK_TEMPLATE(distance, CGeoCoordinate)->Name("distance/ours");
BENCHMARK_TEMPLATE(distance, QGeoCoordinate)->Name("distance/QGeoCoordinate");
BENCHMARK_CAPTURE(fact, category, &CDataType::deviceCategory)->Name("device_category/ours");
BENCHMARK_CAPTURE(fact, text, &CDataType::deviceTypeToString)->Name("device_text/ours");
BENCHMARK_CAPTURE(fact, roles, &CDataType::deviceTypeDeviceRoles)->Name("device_roles/ours");
BENCHMARK_CAPTURE(fact, peer, &arrayLookUp)->Name("device_category/array look-up");
BENCHMARK_CAPTURE(fact, peer, &arrayLookUp)->Name("device_text/array look-up");
BENCHMARK_CAPTURE(fact, peer, &arrayLookUp)->Name("device_roles/array look-up");

BENCHMARK_MAIN();
