#pragma once

#include <QtCore/qglobal.h>

// Marks what libkyr_server shows to the programs that link it; everything else stays inside.
#if defined(KYR_SERVER_BUILD)
#    define KYR_SERVER_EXPORT Q_DECL_EXPORT
#else
#    define KYR_SERVER_EXPORT Q_DECL_IMPORT
#endif

// Internals (headers ending in _p.h) that the tests and benchmarks of the same build reach; hidden otherwise.
#if defined(KYR_SERVER_DEVELOPER_BUILD)
#    define KYR_SERVER_TEST_EXPORT KYR_SERVER_EXPORT
#else
#    define KYR_SERVER_TEST_EXPORT
#endif
