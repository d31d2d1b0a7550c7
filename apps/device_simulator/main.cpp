// kyr_device_simulator: plays devices of the system, for trying out and testing applications without any hardware.
#include "common/app_options.h"
#include "common/log_setup.h"
#include "common/process_setup.h"
#include "simulator.h"

#include <QtCore/QCoreApplication>

#include <cstdio>

namespace {

int failed(const QString& text, int code)
{
    std::fprintf(stderr, "kyr_device_simulator: %s\n", qUtf8Printable(text));
    return code;
}

int run(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    AppOptions options(
        QStringLiteral(
            "Simulates devices: they answer discovery queries over UDP and TCP, call applications and talk to them."),
        "KYR_SIMULATOR");
    Simulator::addOptions(options);
    addLogOptions(options, QStringLiteral("INF"), QStringLiteral("stderr"));
    options.addSwitch(QStringLiteral("version"), QStringLiteral("show the version"));

    if (options.parse(app.arguments().mid(1)) && options.isSet(QStringLiteral("help"))) {
        std::printf("%s\n", qUtf8Printable(options.help(QStringLiteral("kyr_device_simulator"))));
        return 0;
    }
    if (options.error().isEmpty() && options.isSet(QStringLiteral("version"))) {
        std::puts(KYR_VERSION);
        return 0;
    }
    Simulator simulator;
    if (!options.error().isEmpty() || !applyLogOptions(options) || !simulator.setUp(options))
        return failed(options.error(), 2);
    QString error;
    if (!simulator.start(error))
        return failed(error, 1);
    onTerminationRequest(&app, [](Termination) { QCoreApplication::quit(); });
    std::fputs(simulator.describe().constData(), stdout);
    std::fflush(stdout);
    const int code = app.exec();
    endSoon(code);
    return code;
}

} // namespace

int main(int argc, char** argv)
{
    openStandardDescriptors();
    const int code = run(argc, argv);
    waitForOtherThreads();
    return code;
}
