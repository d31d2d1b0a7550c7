// A firmware file of 64 MB in 100 parts: every header and all data checked, every part read.
#include <foundation/formats/firmware_byte_array.h>

#include <QtCore/QLoggingCategory>
#include <QtCore/QtEndian>

#include <benchmark/benchmark.h>

#include <cstring>

namespace {

// One part in format 4: format, variant, device code, version, length of the data, then the data.
QByteArray part(int size, int number)
{
    QByteArray data(size, static_cast<char>(number));
    data[0] = 4;
    data[1] = 1;
    qToLittleEndian<quint32>(static_cast<quint32>(size), data.data() + 8);
    CFirmwareByteArray firmware(data);
    firmware.prependHeader();
    return QByteArray(firmware.constData(), firmware.size());
}

QByteArray file(int megabytes)
{
    constexpr int parts = 100;
    QByteArray result;
    for (int i = 0; i < parts; ++i)
        result += part(megabytes * 1024 * 1024 / parts, i);
    return result;
}

void checkAndReadAll(benchmark::State& state)
{
    const QByteArray image = file(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        CFirmwareByteArray firmware(image);
        int parts = 0;
        do {
            if (!firmware.checkHeader() || firmware.checkedData().isEmpty())
                state.SkipWithError("not a part");
            ++parts;
        } while (firmware.toNextPart());
        if (parts != 100)
            state.SkipWithError("parts lost");
    }
}

void copyOnce(benchmark::State& state)
{
    const QByteArray image = file(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        QByteArray copy(image.size(), Qt::Uninitialized);
        std::memcpy(copy.data(), image.constData(), static_cast<size_t>(image.size()));
        benchmark::DoNotOptimize(copy);
        benchmark::ClobberMemory();
    }
}

} // namespace

BENCHMARK(checkAndReadAll)->Name("firmware/ours")->Arg(4)->Arg(16)->Arg(64)->Unit(benchmark::kMillisecond);
BENCHMARK(copyOnce)->Name("firmware/memcpy")->Arg(4)->Arg(16)->Arg(64)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv)
{
    // Four debug lines a part would be measured along.
    QLoggingCategory::setFilterRules(QStringLiteral("default.debug=false"));
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
