#include <server/database/new_file_p.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

NewFile::Result NewFile::make(const QString& path, QString* errorString)
{
    if (QFileInfo::exists(path))
        return Exists;
    // The folder's access list decides who reads it: the user's data folder is the user's alone.
    QFile file(path);
    if (file.open(QIODevice::NewOnly | QIODevice::WriteOnly))
        return Made;
    *errorString = file.errorString();
    return Failed;
}

bool NewFile::makeFolder(const QString& file, QString* errorString)
{
    if (QDir().mkpath(QFileInfo(file).absolutePath()))
        return true;
    *errorString = QStringLiteral("the folder cannot be made");
    return false;
}

// A file that is open cannot be moved there.
QByteArray NewFile::identity(const QString& path)
{
    return path.toUtf8();
}

bool NewFile::sync(const QString&)
{
    return true;
}
