#include <server/database/new_file_p.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

NewFile::Result NewFile::make(const QString& path, QString* errorString)
{
    const int descriptor =
        ::open(QFile::encodeName(path).constData(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (descriptor >= 0) {
        // The umask may have taken bits away from the owner, too.
        ::fchmod(descriptor, S_IRUSR | S_IWUSR);
        ::close(descriptor);
        return Made;
    }
    if (errno == EEXIST)
        return Exists;
    *errorString = QString::fromLocal8Bit(std::strerror(errno));
    return Failed;
}

bool NewFile::makeFolder(const QString& file, QString* errorString)
{
    const QString folder = QFileInfo(file).absolutePath();
    if (QFileInfo::exists(folder))
        return true;
    if (!makeFolder(folder, errorString))
        return false;
    if (::mkdir(QFile::encodeName(folder).constData(), S_IRWXU) == 0 || errno == EEXIST)
        return true;
    *errorString = QString::fromLocal8Bit(std::strerror(errno));
    return false;
}

QByteArray NewFile::identity(const QString& path)
{
    struct stat file = {};
    if (::stat(QFile::encodeName(path).constData(), &file) != 0)
        return {};
    return QByteArray::number(quint64(file.st_dev)) + ':' + QByteArray::number(quint64(file.st_ino));
}

bool NewFile::sync(const QString& path)
{
    bool good = true;
    for (const QString& name : {path, QFileInfo(path).absolutePath()}) {
        const int descriptor = ::open(QFile::encodeName(name).constData(), O_RDONLY | O_CLOEXEC);
        good = descriptor >= 0 && ::fsync(descriptor) == 0 && good;
        if (descriptor >= 0)
            ::close(descriptor);
    }
    return good;
}
