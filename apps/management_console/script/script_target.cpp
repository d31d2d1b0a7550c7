#include "script/script_target.h"

#include <foundation/services/script_method.h>
#include <server/api/event_rows.h>
#include <server/audit/audit_trail.h>
#include <server/model/sql_access_control.h>

#include <QtCore/QDateTime>

OpenInstallation::OpenInstallation(CSqlAccessControl* model, IDeviceService* devices, CAuditTrail* trail)
    : m_model(model)
    , m_trail(trail)
    , m_service(std::make_unique<CScriptService>(model, devices))
{
    m_service->setNotificationHandler(
        [this](const QString& name, const QVariantMap& parameters, const QString& extension) {
            if (m_isHeard)
                Q_EMIT notified(name, parameters, extension);
        });
}

OpenInstallation::~OpenInstallation() = default;

bool OpenInstallation::call(const QString& name, const QVariantList& arguments, const Callback& callback,
                            QVariant* result, QString* error)
{
    if (name == QLatin1String("errorString")) {
        *result = m_model->errorString();
        return true;
    }
    if (name == QLatin1String("events"))
        return events(arguments.value(0).toMap(), result, error);
    const CScriptMethod* method = CScriptMethod::find(name);
    if (!method) {
        *error = QStringLiteral("there is no operation %1").arg(name);
        return false;
    }
    return method->call(m_service.get(), arguments, callback, result, error);
}

bool OpenInstallation::events(const QVariantMap& filter, QVariant* result, QString* error) const
{
    CAuditTrail::Filter chosen;
    int limit = 0;
    for (auto entry = filter.begin(); entry != filter.end(); ++entry) {
        const QString& key = entry.key();
        bool ok = true;
        if (key == QLatin1String("accessPoint")) {
            chosen.accessPoint = CItemId(entry->toLongLong(&ok));
        } else if (key == QLatin1String("user")) {
            chosen.user = CItemId(entry->toLongLong(&ok));
        } else if (key == QLatin1String("from") || key == QLatin1String("to")) {
            const QDateTime time = entry->toDateTime();
            ok = time.isValid();
            (key == QLatin1String("from") ? chosen.from : chosen.to) = ok ? time.toMSecsSinceEpoch() : 0;
        } else if (key == QLatin1String("limit")) {
            limit = entry->toInt(&ok);
            ok = ok && limit > 0;
        } else if (key == QLatin1String("kinds")) {
            const QVariantList names = entry->toList();
            for (const QVariant& name : names) {
                const auto kind = auditKindFromName(name.toString());
                if (!kind) {
                    *error = QStringLiteral("events: there is no kind \"%1\"").arg(name.toString());
                    return false;
                }
                chosen.kinds.append(*kind);
            }
        } else {
            ok = false;
        }
        if (!ok) {
            *error = QStringLiteral(
                         "events: \"%1\" is not valid; the filter takes accessPoint, user, kinds (a list), from, to "
                         "(dates) and limit")
                         .arg(key);
            return false;
        }
    }
    QVariantList list;
    const QList<QVariantMap> rows = EventRows::make(m_model, m_trail, m_trail->events(chosen, limit));
    for (QVariantMap row : rows) {
        for (const char* key : {"at", "recorded"})
            row[QLatin1String(key)] = QDateTime::fromString(row.value(QLatin1String(key)).toString(), Qt::ISODate);
        list.append(row);
    }
    *result = list;
    return true;
}
