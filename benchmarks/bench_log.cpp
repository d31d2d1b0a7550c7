// One log line to a file, flushed, and one to the ring buffer, against the C library and spdlog.
#include <foundation/core/circular_log_buffer.h>
#include <foundation/core/debug.h>

#include <QtCore/QByteArray>
#include <QtCore/QTemporaryDir>

#include <benchmark/benchmark.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/ringbuffer_sink.h>
#include <spdlog/spdlog.h>

#include <cstdio>
#include <ctime>

namespace {

constexpr const char* logText = "CDeviceDiscovery: Received device info from 192.168.17.23:4711";

QString logFile(const char* name)
{
    static const QTemporaryDir directory;
    return directory.filePath(QLatin1String(name));
}

void handlerReadyText(benchmark::State& state)
{
    CDebug::setMessageOutputFile(logFile("handler"));
    const QString text = QLatin1String(logText);
    const QMessageLogContext context;
    for (auto _ : state)
        CDebug::messageOutput(QtInfoMsg, context, text);
    CDebug::setMessageOutputFile(QStringLiteral("stderr"));
}

void throughQInfo(benchmark::State& state)
{
    CDebug::setMessageOutputFile(logFile("qinfo"));
    const QtMessageHandler previous = qInstallMessageHandler(CDebug::messageOutput);
    for (auto _ : state)
        qInfo("%s", logText);
    qInstallMessageHandler(previous);
    CDebug::setMessageOutputFile(QStringLiteral("stderr"));
}

void plainFprintf(benchmark::State& state)
{
    FILE* file = std::fopen(logFile("fprintf").toLocal8Bit().constData(), "w");
    for (auto _ : state) {
        timespec now{};
        clock_gettime(CLOCK_REALTIME, &now);
        tm local{};
        localtime_r(&now.tv_sec, &local);
        std::fprintf(file, "%02d:%02d:%02d.%03ld INF %s\n", local.tm_hour, local.tm_min, local.tm_sec,
                     now.tv_nsec / 1000000, logText);
        std::fflush(file);
    }
    std::fclose(file);
}

void spdlogFile(benchmark::State& state)
{
    const auto sink =
        std::make_shared<spdlog::sinks::basic_file_sink_mt>(logFile("spdlog").toLocal8Bit().toStdString(), true);
    spdlog::logger logger("bench", sink);
    logger.set_pattern("%H:%M:%S.%e %l %v");
    logger.flush_on(spdlog::level::info);
    for (auto _ : state)
        logger.info(logText);
}

void emptyHandler(QtMsgType, const QMessageLogContext&, const QString&) {}

void suppressed(benchmark::State& state, QtMessageHandler handler)
{
    CDebug::setLogLevel(4);
    QtMessageHandler volatile called = handler;
    const QMessageLogContext context;
    const QString text = QLatin1String(logText);
    for (auto _ : state)
        called(QtDebugMsg, context, text);
}

void ringOurs(benchmark::State& state)
{
    CCircularLogBuffer buffer(0x100000);
    const QByteArray line(logText, static_cast<int>(std::strlen(logText)) + 1);
    for (auto _ : state)
        buffer.append(line);
}

void ringSpdlog(benchmark::State& state)
{
    spdlog::sinks::ringbuffer_sink_st sink(0x100000 / 64);
    const spdlog::details::log_msg message("bench", spdlog::level::info, logText);
    for (auto _ : state)
        sink.log(message);
}

} // namespace

BENCHMARK(handlerReadyText)->Name("log_line/ours");
BENCHMARK(plainFprintf)->Name("log_line/fprintf");
BENCHMARK(spdlogFile)->Name("log_line/spdlog");
BENCHMARK(throughQInfo)->Name("log_line_qinfo/ours");
BENCHMARK(plainFprintf)->Name("log_line_qinfo/fprintf");
BENCHMARK(spdlogFile)->Name("log_line_qinfo/spdlog");
BENCHMARK_CAPTURE(suppressed, ours, &CDebug::messageOutput)->Name("log_suppressed/ours");
BENCHMARK_CAPTURE(suppressed, empty, &emptyHandler)->Name("log_suppressed/empty handler");
BENCHMARK(ringOurs)->Name("ring_buffer/ours");
BENCHMARK(ringSpdlog)->Name("ring_buffer/spdlog");

BENCHMARK_MAIN();
