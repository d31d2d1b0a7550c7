#include <foundation/core/system_id.h>

#include <foundation/core/id_label_p.h>
#include <foundation/core/id_types_p.h>

#include <QtCore/QDataStream>
#include <QtCore/QDebug>

namespace {

const bool registered = [] {
    IdTypes::registerType<CSystemId>("CSystemId", "QList<CSystemId>");
    QtCompat::registerStreaming<CSystemId>("CSystemId");
    return true;
}();

constexpr IdLabel systemLabel{2, 4, 0x4FFFFFF};

} // namespace

QString CSystemId::toLabel() const
{
    return systemLabel.write(m_id);
}

CSystemId CSystemId::fromLabel(const QString& label, bool* ok)
{
    return CSystemId(systemLabel.read(label, ok));
}

QDebug operator<<(QDebug debug, const CSystemId& id)
{
    return debug << id.toLabel().toLatin1().constData();
}

QDataStream& operator<<(QDataStream& stream, const CSystemId& id)
{
    return stream << static_cast<qint32>(id.value());
}

QDataStream& operator>>(QDataStream& stream, CSystemId& id)
{
    qint32 value = 0;
    stream >> value;
    id = CSystemId(static_cast<quint32>(value));
    return stream;
}
