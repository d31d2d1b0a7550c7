#include <server/model/checked_value_p.h>

#include <server/model/access_facts_builder_p.h>

#include <foundation/datatypes/data_type.h>

#include <QtCore/QDateTime>
#include <QtCore/QRegularExpression>
#include <QtCore/QTimeZone>

using namespace Model;

namespace {

bool refuse(QString* errorString, const QString& name, const char* reason)
{
    *errorString = name + QLatin1String(": ") + QString::fromUtf8(reason);
    return false;
}

// 4, 7 or 8 bytes; none for anything else.
QByteArray uidOf(const QVariant& value)
{
    QByteArray bytes = value.toByteArray();
    if (value.userType() == QMetaType::QString) {
        static const QRegularExpression form(QStringLiteral("\\A(?:[0-9A-Fa-f]{2}:?)*[0-9A-Fa-f]{2}\\z"));
        const QString text = value.toString();
        bytes = form.match(text).hasMatch() ? QByteArray::fromHex(text.toLatin1()) : QByteArray();
    } else if (value.userType() != QMetaType::QByteArray) {
        return QByteArray();
    }
    return bytes.size() == 4 || bytes.size() == 7 || bytes.size() == 8 ? bytes : QByteArray();
}

bool checkFlag(const QString& name, QVariant* value, QString* errorString)
{
    if (value->userType() == QMetaType::Bool)
        return true;
    const QString text = value->userType() == QMetaType::QString ? value->toString() : QString();
    if (text != QLatin1String("true") && text != QLatin1String("false"))
        return refuse(errorString, name, "must be \"true\" or \"false\"");
    *value = text == QLatin1String("true");
    return true;
}

// Qt lists the zones of countries only, and constructs more than names: "UTC+1" as POSIX understands it, which is an
// hour behind.
bool isTimeZone(const QString& name)
{
    static const QRegularExpression form(
        QStringLiteral("\\A(?:[A-Z][A-Za-z_-]*(?:/[A-Z][A-Za-z0-9_+-]*)*|EST5EDT|CST6CDT|MST7MDT|PST8PDT)\\z"));
    const QByteArray id = name.toLatin1();
    return QTimeZone::isTimeZoneIdAvailable(id) || (form.match(name).hasMatch() && QTimeZone(id).isValid());
}

bool checkLength(const QString& name, const QVariant& value, QString* errorString)
{
    if (name == labelKey) {
        const QString label = value.toString();
        if (label.trimmed().isEmpty())
            return refuse(errorString, name, "must not be empty");
        return label.size() <= CheckedValues::longestLabel || refuse(errorString, name, "is too long");
    }
    const bool isLong =
        (value.userType() == QMetaType::QString && value.toString().size() > CheckedValues::longestText)
        || (value.userType() == QMetaType::QByteArray && value.toByteArray().size() > CheckedValues::longestText);
    return !isLong || refuse(errorString, name, "is too long");
}

bool isLocalSecond(const QVariant& value)
{
    const QDateTime dateTime = value.userType() == QMetaType::QDateTime ? value.toDateTime() : QDateTime();
    return dateTime.isValid() && dateTime.timeSpec() == Qt::LocalTime && dateTime.time().msec() == 0;
}

} // namespace

bool CheckedValues::check(Kind kind, const QString& name, QVariant* value, QString* errorString)
{
    if (name.isEmpty() || name.size() > longestName)
        return refuse(errorString, name.left(40), "is not a valid name of a property");
    if (isFixed(name) || isRelation(name))
        return refuse(errorString, name, "cannot be set");
    if (!value->isValid() && name != labelKey)
        return true;
    if (!checkLength(name, *value, errorString))
        return false;
    if (name == labelKey) {
        *value = value->toString();
        return true;
    }
    if (name == enabledKey || name == blockedKey)
        return checkFlag(name, value, errorString);
    if (name == validFromKey || name == validToKey) {
        // What it would become. To find that out, the C library would look at the system's time zone twice.
        if (isLocalSecond(*value))
            return true;
        const auto edge = name == validToKey ? CAccessTimeZone::DayEdge::End : CAccessTimeZone::DayEdge::Begin;
        const std::optional<qint64> instant = accessInstantFromVariant(*value, AccessFactsBuilder::ownZone(), edge);
        if (!instant)
            return refuse(errorString, name, "must be a time such as 2026-11-22T03:10, or a date");
        *value = QDateTime::fromSecsSinceEpoch(*instant);
        return true;
    }
    if (kind == KindTimeProfile && name == slotsKey) {
        QString reason;
        const auto profile = CTimeProfile::fromText(value->toString(), &reason);
        if (!profile) {
            *errorString = name + QLatin1String(": ") + reason;
            return false;
        }
        *value = profile->toText();
        return true;
    }
    if (kind == KindMedium && name == uidKey) {
        const QByteArray uid = uidOf(*value);
        if (uid.isEmpty())
            return refuse(errorString, name, "must be 4, 7 or 8 pairs of hexadecimal digits");
        *value = uid;
        return true;
    }
    if (kind == KindCode && name == codeKey) {
        static const QRegularExpression form(QStringLiteral("\\A[0-9]{1,12}\\z"));
        if (!form.match(value->toString()).hasMatch())
            return refuse(errorString, name, "must be 1 to 12 digits");
        *value = value->toString();
        return true;
    }
    if (kind == KindAccessPoint && name == timeZoneKey && !isTimeZone(value->toString()))
        return refuse(errorString, name, "must be a time zone such as Europe/Berlin");
    if (kind == KindHoliday && name == QLatin1String("date")) {
        const QDate date =
            value->userType() == QMetaType::QDate ? value->toDate() : QDate::fromString(value->toString(), Qt::ISODate);
        // Qt reads no further than the day.
        const bool isWhole = value->userType() == QMetaType::QDate || value->toString() == date.toString(Qt::ISODate);
        if (!date.isValid() || !isWhole)
            return refuse(errorString, name, "must be a date such as 2026-12-25");
        *value = date;
    }
    return true;
}
