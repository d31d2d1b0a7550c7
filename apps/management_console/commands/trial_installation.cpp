#include "commands/trial_installation.h"

#include <foundation/datatypes/data_type.h>
#include <server/model/sql_access_control.h>

#include <QtCore/QVector>

namespace {

constexpr int groupsOfUser = 5;
constexpr int doorsOfGroup = 100;
constexpr int doorsOfFloor = 20;
constexpr int floorsOfBuilding = 5;
constexpr int progressStep = 1000;

constexpr const char* firstNames[] = {"Anna", "Ben",  "Clara", "David", "Eva", "Felix", "Greta",
                                      "Hugo", "Ida",  "Jonas", "Klara", "Leo", "Mia",   "Noah",
                                      "Olga", "Paul", "Rosa",  "Simon", "Tea", "Viktor"};
constexpr const char* lastNames[] = {"Berger", "Costa",  "Dubois", "Fischer", "Garcia", "Huber", "Ivanova",
                                     "Jansen", "Keller", "Lopez",  "Meyer",   "Novak",  "Olsen", "Perez",
                                     "Rossi",  "Schmid", "Torres", "Vogel",   "Weber",  "Zeller"};
constexpr const char* departments[] = {"Administration", "IT",        "Workshop", "Sales",
                                       "Research",       "Logistics", "Finance",  "Cleaning Service"};
constexpr const char* titles[] = {"Engineer", "Clerk", "Technician", "Manager", "Trainee"};

template<int size>
constexpr int count(const char* const (&)[size])
{
    return size;
}

QString text(const char* name)
{
    return QString::fromLatin1(name);
}

QString number(int value, int digits)
{
    return QString::number(value).rightJustified(digits, QLatin1Char('0'));
}

QVariantMap userProperties(int i)
{
    const QString first = text(firstNames[i % count(firstNames)]);
    const QString last = text(lastNames[i / count(firstNames) % count(lastNames)]);
    const QString serial = number(i + 1, 6);
    return {
        {QStringLiteral("class"), int(UserClassUser)},
        {QStringLiteral("label"), QStringLiteral("%1 %2 %3").arg(first, last, serial)},
        {QStringLiteral("First Name"), first},
        {QStringLiteral("Last Name"), last},
        {QStringLiteral("Department"), text(departments[i % count(departments)])},
        {QStringLiteral("Email"), QStringLiteral("%1.%2.%3@example.com").arg(first.toLower(), last.toLower(), serial)},
        {QStringLiteral("Phone"), QStringLiteral("+49 30 5550 %1").arg(serial)},
        {QStringLiteral("Personnel Number"), QString(QLatin1Char('P') + serial)},
        {QStringLiteral("Room"), QStringLiteral("%1.%2").arg(i % floorsOfBuilding).arg(number(i % 97, 2))},
        {QStringLiteral("Cost Center"), QString::number(4000 + i % 40)},
        {QStringLiteral("Title"), text(titles[i % count(titles)])},
        {QStringLiteral("Company"), i % 11 == 0 ? QStringLiteral("Contractor") : QStringLiteral("Example")}};
}

// Every number of an item is given once, and so is every UID made of one.
QByteArray uidOf(CItemId user)
{
    QByteArray uid(1, '\x04');
    for (int shift = 40; shift >= 0; shift -= 8)
        uid.append(char(user.value() >> shift));
    return uid;
}

} // namespace

bool TrialInstallation::add(CSqlAccessControl& model, const std::function<void(const QString&)>& progress) const
{
    QList<CItemId> doorIds;
    for (int i = 0; i < doors; ++i) {
        const int floor = i / doorsOfFloor;
        doorIds.append(model.createAccessPoint(
            {{QStringLiteral("label"), QStringLiteral("Door %1").arg(number(i + 1, 5))},
             {QStringLiteral("Building"), QStringLiteral("Building %1").arg(floor / floorsOfBuilding + 1)},
             {QStringLiteral("Floor"), QString::number(floor % floorsOfBuilding)}}));
        if (doorIds.last() == CItemId())
            return false;
    }
    QVector<QList<CItemId>> members(groups);
    for (int i = 0; i < users; ++i) {
        if (i % progressStep == 0)
            progress(QStringLiteral("%1 of %2 users").arg(i).arg(users));
        const CItemId user = model.createUser(userProperties(i));
        if (user == CItemId()
            || model.createRfidMedium({{QStringLiteral("label"), QStringLiteral("Card %1").arg(number(i + 1, 6))},
                                       {QStringLiteral("uid"), uidOf(user)},
                                       {QStringLiteral("userId"), user.value()}})
                   == CItemId())
            return false;
        for (int membership = 0; membership < qMin(groupsOfUser, groups); ++membership)
            members[(i + membership) % groups].append(user);
    }
    for (int i = 0; i < groups; ++i) {
        progress(QStringLiteral("%1 of %2 groups").arg(i).arg(groups));
        const CItemId group =
            model.createGroup({{QStringLiteral("label"), QStringLiteral("Group %1").arg(number(i + 1, 4))}});
        if (group == CItemId() || !model.addUsersToGroup(members.at(i), group))
            return false;
        for (int j = 0; j < qMin(doorsOfGroup, doors); ++j) {
            if (model.addAccessRight(group, doorIds.at((i * 7 + j) % doors), {}) == CItemId())
                return false;
        }
    }
    return true;
}
