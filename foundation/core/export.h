#pragma once

#include <QtCore/qglobal.h>

// Marks what libkyr_foundation shows to the programs that link it; everything else stays inside.
#if defined(KYR_FOUNDATION_BUILD)
#    define KYR_FOUNDATION_EXPORT Q_DECL_EXPORT
#else
#    define KYR_FOUNDATION_EXPORT Q_DECL_IMPORT
#endif

// Internals (headers ending in _p.h) that the tests, fuzzers and benchmarks of the same build reach; hidden otherwise.
#if defined(KYR_FOUNDATION_DEVELOPER_BUILD)
#    define KYR_FOUNDATION_TEST_EXPORT KYR_FOUNDATION_EXPORT
#else
#    define KYR_FOUNDATION_TEST_EXPORT
#endif
