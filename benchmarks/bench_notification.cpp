// Fan-out of a notification, direct connection, against a walk over the registry with a list built for each observer.
#include <foundation/services/notification_service.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QHash>
#include <QtCore/QSet>

#include <benchmark/benchmark.h>

namespace {

const QString source = QStringLiteral("AccessPoints");

QVariantMap parameters()
{
    return {{QStringLiteral("event"), QStringLiteral("changed")}, {QStringLiteral("id"), 17}};
}

QString address(int i)
{
    return QStringLiteral("client-%1").arg(i);
}

void fanOut(benchmark::State& state)
{
    const int subscribers = static_cast<int>(state.range(0));
    const int observers = static_cast<int>(state.range(1));
    CNotificationService service(nullptr);
    for (int i = 0; i < subscribers; ++i)
        service.registerObserver(address(i), {i < observers ? source : QStringLiteral("another source")}, i);
    qint64 sent = 0;
    QObject::connect(&service, &CNotificationService::messageTransmissionRequested, &service,
                     [&](const QString&, const QString&, const QVariantList&) { ++sent; });
    const QVariantMap params = parameters();
    for (auto _ : state)
        service.notifyObservers(source, params);
    if (sent != static_cast<qint64>(state.iterations()) * observers)
        state.SkipWithError("wrong number of messages");
}

struct Entry
{
    QSet<QString> sources;
    qint64 authId;
};

void registryWalk(benchmark::State& state)
{
    QHash<QString, Entry> registry;
    for (int i = 0; i < state.range(0); ++i)
        registry.insert(address(i), {{source}, i});
    CNotificationService emitter(nullptr);
    qint64 sent = 0;
    QObject::connect(&emitter, &CNotificationService::messageTransmissionRequested, &emitter,
                     [&](const QString&, const QString&, const QVariantList&) { ++sent; });
    const QString method = QStringLiteral("notify");
    const QVariantMap params = parameters();
    for (auto _ : state) {
        for (auto it = registry.cbegin(); it != registry.cend(); ++it) {
            if (it->sources.contains(source))
                Q_EMIT emitter.messageTransmissionRequested(it.key(), method,
                                                            QVariantList{source, QVariantMap(params)});
        }
    }
    benchmark::DoNotOptimize(sent);
}

} // namespace

BENCHMARK(fanOut)->Name("notification/ours")->Args({10000, 10000})->Args({40000, 40000})->Args({160000, 160000});
BENCHMARK(fanOut)->Name("notification_few_of_many/ours")->Args({100000, 10});
BENCHMARK(registryWalk)->Name("notification/registry walk")->Args({10000, 10000});

int main(int argc, char** argv)
{
    const QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
