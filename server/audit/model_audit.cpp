#include <server/audit/model_audit.h>

#include <foundation/datatypes/data_type.h>

#include <QtCore/QDateTime>
#include <QtCore/QJsonArray>

namespace {

QJsonValue toJson(const QVariant& value)
{
    if (value.userType() == qMetaTypeId<CItemId>())
        return QString::number(qint64(value.value<CItemId>()));
    switch (value.userType()) {
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
        return value.toString(); // an id: a number would lose digits
    case QMetaType::QByteArray:
        return CDataType::rfidUidToLabel(value.toByteArray());
    case QMetaType::QDateTime:
        return value.toDateTime().toUTC().toString(Qt::ISODate);
    case QMetaType::QVariantMap: {
        QJsonObject object;
        const QVariantMap map = value.toMap();
        for (auto entry = map.cbegin(); entry != map.cend(); ++entry)
            object.insert(entry.key(), toJson(*entry));
        return object;
    }
    case QMetaType::QVariantList: {
        QJsonArray array;
        const QVariantList list = value.toList();
        for (const QVariant& element : list)
            array.append(toJson(element));
        return array;
    }
    default:
        return QJsonValue::fromVariant(value);
    }
}

} // namespace

bool CModelAudit::record(const QVector<CModelChange>& changes, CItemId operatorId)
{
    QList<AuditEvent> events;
    for (const CModelChange& change : changes) {
        AuditEvent event;
        event.kind = AuditKind::Changed;
        if (operatorId != CItemId())
            event.operatorName = QString::number(qint64(operatorId));
        event.user = change.owner; // so that it goes when the user's events are erased
        if (change.collection == QLatin1String("UsersGroups"))
            event.user = change.item;
        else if (change.collection == QLatin1String("AccessPoints"))
            event.accessPoint = change.item;
        else if (change.collection == QLatin1String("Media") || change.collection == QLatin1String("Codes"))
            event.medium = change.item;
        event.details.insert(QStringLiteral("collection"), change.collection);
        if (change.item != CItemId())
            event.details.insert(QStringLiteral("item"), QString::number(qint64(change.item)));
        event.details.insert(QStringLiteral("what"), change.what);
        event.details.insert(QStringLiteral("label"), change.label);
        if (!change.before.isEmpty())
            event.details.insert(QStringLiteral("old"), toJson(change.before));
        if (!change.after.isEmpty())
            event.details.insert(QStringLiteral("new"), toJson(change.after));
        events.append(event);
    }
    return m_trail->append(events);
}
