#include <foundation/cli/abstract_cli_io.h>

CAbstractCliIO::CAbstractCliIO(QObject* parent)
    : QObject(parent)
{
}

CAbstractCliIO::~CAbstractCliIO() = default;
