// The JSON text codec against QJsonDocument, flat objects of 20, 1,000 and (for growth) 16,000 keys.
#include <foundation/core/json_parser.h>

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QVariantMap>

#include <benchmark/benchmark.h>

namespace {

QVariantMap flatMap(int keys)
{
    QVariantMap map;
    for (int i = 0; i < keys; ++i) {
        const QString key = QStringLiteral("property_%1").arg(i);
        switch (i % 4) {
        case 0:
            map.insert(key, i * 37);
            break;
        case 1:
            map.insert(key, QStringLiteral("the value of property number %1").arg(i));
            break;
        case 2:
            map.insert(key, i % 8 == 2);
            break;
        default:
            map.insert(key, i * 0.25);
            break;
        }
    }
    return map;
}

QString compactJson(const QVariantMap& map)
{
    return QString::fromUtf8(QJsonDocument::fromVariant(map).toJson(QJsonDocument::Compact));
}

void parseOurs(benchmark::State& state)
{
    const QString text = compactJson(flatMap(static_cast<int>(state.range(0))));
    for (auto _ : state) {
        bool ok = false;
        benchmark::DoNotOptimize(CJsonParser::deserialize(text, &ok, false));
        if (!ok)
            state.SkipWithError("not parsed");
    }
}

void parsePeer(benchmark::State& state)
{
    const QString text = compactJson(flatMap(static_cast<int>(state.range(0))));
    for (auto _ : state)
        benchmark::DoNotOptimize(QJsonDocument::fromJson(text.toUtf8()).object().toVariantMap());
}

void writeOurs(benchmark::State& state)
{
    const QVariantMap map = flatMap(static_cast<int>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(CJsonParser::serialize(map));
}

void writePeer(benchmark::State& state)
{
    const QVariantMap map = flatMap(static_cast<int>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(compactJson(map));
}

} // namespace

BENCHMARK(parseOurs)->Name("json_parse/ours")->Arg(20)->Arg(1000)->Arg(4000)->Arg(16000);
BENCHMARK(parsePeer)->Name("json_parse/QJsonDocument")->Arg(20)->Arg(1000)->Arg(4000)->Arg(16000);
BENCHMARK(writeOurs)->Name("json_write/ours")->Arg(20)->Arg(1000)->Arg(4000)->Arg(16000);
BENCHMARK(writePeer)->Name("json_write/QJsonDocument")->Arg(20)->Arg(1000);

BENCHMARK_MAIN();
