#include <foundation/services/demonstration_installation_p.h>

#include <foundation/core/device_id.h>
#include <foundation/datatypes/data_type.h>

#include <QtCore/QDateTime>

namespace {

using Items = QList<QVariantMap>;

QVariantMap item(qint64 id, int itemClass, const QString& label, const QVariantMap& properties)
{
    QVariantMap map = properties;
    map.insert(QStringLiteral("id"), id);
    map.insert(QStringLiteral("class"), itemClass);
    map.insert(QStringLiteral("label"), label);
    return map;
}

QVariantMap door(qint64 id, const char* floor, const char* label)
{
    const QString name = QLatin1String(label);
    return item(id, CDataType::AccessPointFunctionSimpleDoor, name,
                {{QStringLiteral("Building"), QStringLiteral("Head Office")},
                 {QStringLiteral("Floor"), QLatin1String(floor)},
                 {QStringLiteral("Access Point"), name}});
}

QVariantMap opener(qint64 id, qint64 accessPoint, const char* label)
{
    return item(id, AuthPointClassOpener, QLatin1String(label), {{QStringLiteral("accessPointId"), accessPoint}});
}

QVariantMap device(qint64 id, qint64 accessPoint, quint32 serial)
{
    return item(id, 0, CDeviceId(serial).toLabel(),
                {{QStringLiteral("deviceId"), serial}, {QStringLiteral("accessPointId"), accessPoint}});
}

QVariantMap user(qint64 id, const char* firstName, const char* lastName, const char* department,
                 const QList<qint64>& accessPoints)
{
    const QString first = QString::fromUtf8(firstName);
    const QString last = QString::fromUtf8(lastName);
    QVariantList rights;
    for (const qint64 accessPoint : accessPoints)
        rights.append(QVariantMap{{QStringLiteral("accessPointId"), accessPoint}});
    return item(id, UserClassUser, QString(first + QLatin1Char(' ') + last),
                {{QStringLiteral("First Name"), first},
                 {QStringLiteral("Last Name"), last},
                 {QStringLiteral("Department"), QLatin1String(department)},
                 {QStringLiteral("Email"), QString(first.toLower() + QLatin1String("@example.com"))},
                 {QStringLiteral("Access Points"), rights}});
}

QVariantMap group(qint64 id, const char* label, const QList<CItemId>& members)
{
    return item(
        id, UserClassGroup, QLatin1String(label),
        {{QStringLiteral("Members"), QVariant::fromValue(members)}, {QStringLiteral("Access Points"), QVariantList()}});
}

QVariantMap medium(qint64 id, qint64 userId, const char* description, quint64 publicId, const char* uid)
{
    const QByteArray uidBytes = QByteArray::fromHex(uid);
    const bool isFob = qstrcmp(description, "Key fob") == 0;
    const QString publicLabel = CDataType::publicMediaIdToLabel(publicId);
    return item(
        id, 0, publicLabel,
        {{QStringLiteral("userId"), userId},
         {QStringLiteral("actionProfileId"), qint64(0)},
         {QStringLiteral("description"), QLatin1String(description)},
         {QStringLiteral("brellMedium"), false},
         {QStringLiteral("cardArchitecture"),
          int(uidBytes.size() == 4 ? CDataType::CardArchitectureIsoUid4 : CDataType::CardArchitectureDesfire)},
         {QStringLiteral("mediumType"), int(isFob ? CDataType::CardMediumTypeKeyFob : CDataType::CardMediumTypeCard)},
         {QStringLiteral("validFrom"), QDateTime(QDate(2026, 1, 1), QTime(0, 0))},
         {QStringLiteral("validTo"), QDateTime(QDate(2028, 12, 31), QTime(23, 59, 59))},
         {QStringLiteral("technicalMediaId"), publicId + 700000},
         {QStringLiteral("publicMediaLabel"), publicLabel},
         {QStringLiteral("uid"), uidBytes}});
}

QVariantMap code(qint64 id, qint64 userId, const char* description, const char* digits)
{
    return item(id, 0, QLatin1String(description),
                {{QStringLiteral("userId"), userId},
                 {QStringLiteral("actionProfileId"), qint64(0)},
                 {QStringLiteral("description"), QLatin1String(description)},
                 {QStringLiteral("code"), QLatin1String(digits)},
                 {QStringLiteral("validFrom"), QDateTime(QDate(2026, 3, 1), QTime(6, 0))},
                 {QStringLiteral("validTo"), QDateTime(QDate(2026, 12, 31), QTime(22, 30))}});
}

QVariantMap holiday(qint64 id, qint64 calendar, const char* label, const QDate& date)
{
    return item(id, 0, QLatin1String(label),
                {{QStringLiteral("calendarId"), calendar}, {QStringLiteral("date"), date}});
}

} // namespace

QMap<QString, QList<QVariantMap>> demonstrationInstallation()
{
    return {
        {QStringLiteral("AccessPoints"),
         Items{door(1, "Ground Floor", "Main Entrance"), door(2, "Ground Floor", "Workshop"),
               door(3, "First Floor", "Server Room")}},
        {QStringLiteral("AuthorizationPoints"),
         Items{opener(11, 1, "Open Main Entrance"), opener(12, 2, "Open Workshop"), opener(13, 3, "Open Server Room")}},
        {QStringLiteral("Devices"), Items{device(21, 1, 123401), device(22, 2, 123402), device(23, 3, 123403)}},
        {QStringLiteral("UsersGroups"),
         Items{user(31, "Anna", "Berger", "Administration", {1}), user(32, "Ben", "Costa", "Workshop", {1, 2}),
               user(33, "Clara", "Dubois", "IT", {1, 2, 3}), user(34, "David", "Ekstr\xc3\xb6m", "IT", {1, 3}),
               user(35, "Eva", "Fischer", "Cleaning Service", {1, 2}), group(41, "Employees", {31, 32, 33, 34}),
               group(42, "Facility Management", {32, 35})}},
        {QStringLiteral("Media"),
         Items{medium(51, 31, "Blue card", 100201, "04a1223b5c6d80"),
               medium(52, 32, "Key fob", 100202, "04a1223b5c6d81"),
               medium(53, 33, "Blue card", 100203, "04a1223b5c6d82"), medium(54, 33, "Key fob", 100204, "9c41d27a"),
               medium(55, 34, "Blue card", 100205, "04a1223b5c6d84"), medium(56, 0, "Spare card", 100206, "9c41d27b")}},
        {QStringLiteral("Codes"), Items{code(61, 33, "Server room", "482913"), code(62, 35, "Evening round", "7750")}},
        {QStringLiteral("Holidays"),
         Items{holiday(72, 71, "New Year's Day", QDate(2026, 1, 1)), holiday(73, 71, "Labour Day", QDate(2026, 5, 1)),
               holiday(74, 71, "Christmas Day", QDate(2026, 12, 25))}},
        {QStringLiteral("HolidayCalendars"), Items{item(71, 0, QStringLiteral("Public Holidays"), {})}},
    };
}
