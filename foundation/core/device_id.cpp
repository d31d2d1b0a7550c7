#include <foundation/core/device_id.h>

#include <foundation/core/id_label_p.h>
#include <foundation/core/id_types_p.h>

#include <QtCore/QDataStream>
#include <QtCore/QDebug>

namespace {

const bool registered = [] {
    IdTypes::registerType<CDeviceId>("CDeviceId", "QList<CDeviceId>");
    QtCompat::registerStreaming<CDeviceId>("CDeviceId");
    QMetaType::registerConverter<CDeviceId, CItemId>();
    QMetaType::registerConverter<CItemId, CDeviceId>();
    return true;
}();

constexpr IdLabel deviceLabel{3, 3, 0x27FFFFFF};

} // namespace

QString CDeviceId::toLabel() const
{
    return deviceLabel.write(m_id);
}

CDeviceId CDeviceId::fromLabel(const QString& label, bool* ok)
{
    return CDeviceId(deviceLabel.read(label, ok));
}

QDebug operator<<(QDebug debug, const CDeviceId& id)
{
    return debug << id.toLabel().toLatin1().constData();
}

QDataStream& operator<<(QDataStream& stream, const CDeviceId& id)
{
    return stream << static_cast<qint32>(id.value());
}

QDataStream& operator>>(QDataStream& stream, CDeviceId& id)
{
    qint32 value = 0;
    stream >> value;
    id = CDeviceId(static_cast<quint32>(value));
    return stream;
}
