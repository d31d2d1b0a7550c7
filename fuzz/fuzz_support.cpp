#include "fuzz_support.h"

#include <foundation/core/utf8_p.h>

#include <QtCore/QCoreApplication>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace {

constexpr size_t largeInput = 32 * 1024;
constexpr size_t growth = 8;
// Quadratic work would grow by the square of `growth`; caches and the allocator make linear work grow by a little more
// than `growth`.
constexpr double toleratedGrowth = 3.0 * growth;
constexpr double noticeable = 0.2; // seconds; what is faster is not worth a finding
constexpr uint32_t oneOf = 4096;   // inputs, to be repeated

FuzzTarget* targets = nullptr;

double cpuSeconds()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

double secondsFor(const FuzzTarget& target, const uint8_t* data, size_t size, size_t total)
{
    QByteArray repeated(static_cast<int>(total), Qt::Uninitialized);
    for (size_t at = 0; at < total; at += size)
        std::memcpy(repeated.data() + at, data, std::min(size, total - at));
    const double begin = cpuSeconds();
    target.run(FuzzInput(reinterpret_cast<const uint8_t*>(repeated.constData()), total));
    return cpuSeconds() - begin;
}

uint32_t hashOf(const uint8_t* data, size_t size)
{
    uint32_t hash = 2166136261u;
    for (size_t i = 0; i < size; ++i)
        hash = (hash ^ data[i]) * 16777619u;
    return hash;
}

void checkGrowth(const FuzzTarget& target, const uint8_t* data, size_t size)
{
    double small = 0;
    double large = 0;
    // A slow run may have been an interrupted one: only what is slow three times over counts.
    for (int attempt = 0; attempt < 3; ++attempt) {
        small = secondsFor(target, data, size, largeInput);
        large = secondsFor(target, data, size, growth * largeInput);
        if (large < noticeable || large < toleratedGrowth * small)
            return;
    }
    std::fprintf(stderr, "%s: %zu bytes take %.3f s, %zu bytes %.3f s\n", target.name, largeInput, small,
                 growth * largeInput, large);
    FUZZ_CHECK(!"time is linear in the input's size");
}

void silence(QtMsgType, const QMessageLogContext&, const QString&) {}

} // namespace

void fuzzFailed(const char* condition, const char* file, int line)
{
    std::fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, condition);
    std::abort();
}

QString fuzzText(const QByteArray& bytes)
{
    return utf8Whole(bytes);
}

FuzzTarget::FuzzTarget(const char* targetName, void (*function)(FuzzInput))
    : name(targetName)
    , run(function)
    , next(targets)
{
    targets = this;
}

const FuzzTarget* findFuzzTarget(const char* name)
{
    const FuzzTarget* target = targets;
    while (target && name && std::strcmp(target->name, name) != 0)
        target = target->next;
    return target;
}

void runFuzzInput(const FuzzTarget& target, const uint8_t* data, size_t size, bool always)
{
    static int argc = 0;
    static char* noArguments = nullptr;
    static const QCoreApplication application(argc, &noArguments);
    static const auto before = qInstallMessageHandler(silence);
    Q_UNUSED(before)
    target.run(FuzzInput(data, size));
    if (size > 0 && (always || hashOf(data, size) % oneOf == 0))
        checkGrowth(target, data, size);
}

#ifdef KYR_FUZZER
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const FuzzTarget* const target = findFuzzTarget();
    runFuzzInput(*target, data, size);
    return 0;
}
#endif
