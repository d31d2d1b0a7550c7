#include <server/model/demonstration_fill.h>

#include <server/model/sql_access_control.h>

#include <QtCore/QDate>
#include <QtCore/QDateTime>
#include <QtCore/QVector>

namespace {

constexpr int usersBetweenReports = 500;

QString pick(const QVector<const char*>& texts, int number)
{
    return QString::fromUtf8(texts[number % texts.size()]);
}

QString firstName(int number)
{
    return pick({"Anna", "Ben", "Clara", "David", "Eva", "Farid", "Gr\xc3\xa9goire", "Hanna", "Igor", "J\xc3\xbcrgen",
                 "Kim", "Lena", "Marc", "Nora", "Oskar", "Pia"},
                number);
}

QString lastName(int number)
{
    return pick({"Berger", "Costa", "Dubois", "Ekstr\xc3\xb6m", "Fischer",
                 "Garc\303\255a", // octal: an "a" behind \xad would belong to it
                 "Huber", "Ivanova", "Jansen", "Keller", "Lindqvist", "Moser", "Nov\xc3\xa1k", "Olsen", "Petit"},
                number / 16);
}

QVariantMap userProperties(int number)
{
    const QString first = firstName(number);
    const QString last = lastName(number);
    const QString serial = QString::number(number);
    return {{QStringLiteral("label"), QString(first + QLatin1Char(' ') + last + QLatin1Char(' ') + serial)},
            {QStringLiteral("First Name"), first},
            {QStringLiteral("Last Name"), last},
            {QStringLiteral("Department"), pick({"Administration", "IT", "Workshop", "Logistics", "Sales", "Research",
                                                 "Cleaning Service", "Security"},
                                                number)},
            {QStringLiteral("Email"), QString(QLatin1String("user") + serial + QLatin1String("@example.com"))},
            {QStringLiteral("Phone"), QString(QLatin1String("+49 30 ") + QString::number(1000000 + number))},
            {QStringLiteral("Personnel Number"), number},
            {QStringLiteral("Cost Center"), 4000 + number % 120},
            {QStringLiteral("Building"), QString(QLatin1String("Building ") + QString::number(1 + number % 20))},
            {QStringLiteral("Room"),
             QString(QString::number(number % 5) + QLatin1Char('.') + QString::number(100 + number % 77))},
            {QStringLiteral("Employed Since"), QDate(2000, 1, 1).addDays(number % 9000)}};
}

QVariantMap cardProperties(int number, CItemId user)
{
    static const QDateTime validFrom(QDate(2026, 1, 1), QTime(0, 0));
    static const QDateTime validTo(QDate(2036, 12, 31), QTime(23, 59, 59));
    QByteArray uid = QByteArray::fromHex("04a10000000080");
    for (int i = 0; i < 4; ++i)
        uid[2 + i] = char(quint32(number) >> (24 - 8 * i));
    return {{QStringLiteral("label"), QString::number(100000000 + number)},
            {QStringLiteral("userId"), user.value()},
            {QStringLiteral("description"), QStringLiteral("Card")},
            {QStringLiteral("uid"), uid},
            {QStringLiteral("validFrom"), validFrom},
            {QStringLiteral("validTo"), validTo}};
}

} // namespace

bool CDemonstrationFill::run(CSqlAccessControl* model, QString* errorString) const
{
    if (!model->getUser({}).isEmpty() || !model->getGroup({}).isEmpty() || !model->getAccessPoint({}).isEmpty()) {
        *errorString = QStringLiteral("only an empty installation is filled; this one has users, groups or doors");
        return false;
    }
    model->beginTransaction(QStringLiteral("fill"));
    const bool done = fillIn(model);
    const QString reason = model->errorString();
    model->endTransaction();
    *errorString = done ? model->errorString() : reason;
    return done && errorString->isEmpty();
}

bool CDemonstrationFill::fillIn(CSqlAccessControl* model) const
{
    QList<CItemId> doorIds;
    for (int number = 1; number <= doors; ++number) {
        const CItemId door = model->createAccessPoint(
            {{QStringLiteral("label"), QString(QLatin1String("Door ") + QString::number(number))},
             {QStringLiteral("Building"), QString(QLatin1String("Building ") + QString::number(1 + number % 20))},
             {QStringLiteral("Floor"), QString(QLatin1String("Floor ") + QString::number(number / 20 % 5))},
             {QStringLiteral("Access Point"), QString(QLatin1String("Door ") + QString::number(number))}});
        if (door == CItemId())
            return false;
        doorIds.append(door);
    }
    QList<CItemId> groupIds;
    for (int number = 1; number <= groups; ++number) {
        const CItemId group =
            model->createGroup({{QStringLiteral("label"), QString(QLatin1String("Group ") + QString::number(number))}});
        QList<CItemId> ofGroup;
        for (int i = 0; i < qMin(doorsOfGroup, doors); ++i)
            ofGroup.append(doorIds[int((qint64(number) * doorsOfGroup + i) % doors)]);
        if (group == CItemId() || !model->addAccessPointsToUser(ofGroup, group))
            return false;
        groupIds.append(group);
    }
    QVector<QList<CItemId>> members(groups);
    for (int number = 1; number <= users; ++number) {
        const CItemId user = model->createUser(userProperties(number));
        if (user == CItemId() || model->createRfidMedium(cardProperties(number, user)) == CItemId())
            return false;
        for (int i = 0; i < qMin(groupsOfUser, groups); ++i)
            members[int((qint64(number) + qint64(i) * 7) % groups)].append(user);
        if (progress && (number % usersBetweenReports == 0 || number == users))
            progress(number);
    }
    for (int i = 0; i < groups; ++i) {
        if (!model->addUsersToGroup(members[i], groupIds[i]))
            return false;
    }
    return true;
}
