#include <foundation/core/mira_revision.h>

#include <QtCore/QDataStream>

QDataStream& operator<<(QDataStream& stream, const CMiraRevision& revision)
{
    return stream << static_cast<qint32>(revision.getVersion()) << static_cast<qint32>(revision.getHash())
                  << revision.isDirty();
}

QDataStream& operator>>(QDataStream& stream, CMiraRevision& revision)
{
    qint32 version = 0;
    qint32 hash = 0;
    bool dirty = false;
    stream >> version >> hash >> dirty;
    revision = CMiraRevision(static_cast<unsigned int>(version), static_cast<unsigned int>(hash), dirty);
    return stream;
}
