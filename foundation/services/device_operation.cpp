#include <foundation/services/device_operation.h>

#include <foundation/core/qt_compat_p.h>

IDeviceOperation::IDeviceOperation(QObject* parent, unsigned int priority)
    : QObject(parent)
    , m_priority(priority)
{
}

IDeviceOperation::~IDeviceOperation() = default;

QList<QMetaProperty> IDeviceOperation::storedProperties() const
{
    QList<QMetaProperty> properties;
    for (const QMetaObject* level = metaObject(); level != &QObject::staticMetaObject; level = level->superClass()) {
        QList<QMetaProperty> ofLevel;
        for (int index = level->propertyOffset(); index < level->propertyCount(); ++index) {
            const QMetaProperty property = level->property(index);
            if (QtCompat::isStored(property, this))
                ofLevel.append(property);
        }
        properties = ofLevel + properties;
    }
    return properties;
}

QVariantMap IDeviceOperation::storedPropertiesMap() const
{
    QVariantMap values;
    const QList<QMetaProperty> properties = storedProperties();
    for (const QMetaProperty& property : properties)
        values.insert(QString::fromLatin1(property.name()), property.read(this));
    return values;
}
