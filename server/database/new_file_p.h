#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

/// Files that only their owner may read, from the first byte on, whatever the umask.
namespace NewFile {

enum Result
{
    Made,
    Exists,
    Failed
};

/// Makes an empty file of mode 0600. `errorString` says why it failed.
Result make(const QString& path, QString* errorString);
/// Makes the folder of a file, and what is missing above it, mode 0700.
bool makeFolder(const QString& file, QString* errorString);
/// Which file stands there, whatever its name; the same as long as it is not replaced or moved. Empty when there is
/// none.
QByteArray identity(const QString& path);
/// What was written to the file survives a power failure, its name included.
bool sync(const QString& path);

} // namespace NewFile
