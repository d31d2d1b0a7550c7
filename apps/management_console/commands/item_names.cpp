#include "commands/item_names.h"

#include <foundation/datatypes/data_type.h>
#include <server/model/model_reader.h>
#include <server/model/sql_access_control.h>

#include <QtCore/QSet>

namespace {

// What a message names at most.
constexpr int longestList = 100;

struct Place
{
    const char* word;
    const char* collection;
    Named kind;
    int itemClass;
};

constexpr Place places[] = {
    {"user", "UsersGroups", Named::User, UserClassUser},
    {"group", "UsersGroups", Named::Group, UserClassGroup},
    {"door", "AccessPoints", Named::Door, 0},
    {"medium", "Media", Named::Medium, 0},
    {"code", "Codes", Named::Code, 0},
    {"schedule", "TimeProfiles", Named::Schedule, 0},
    {"calendar", "HolidayCalendars", Named::Calendar, 0},
    {"holiday", "Holidays", Named::Holiday, 0},
    {"device", "Devices", Named::Device, 0},
};

// A kind that stands for two of the others stands for both.
QList<Named> kindsOf(Named kind)
{
    if (kind == Named::UserOrGroup)
        return {Named::User, Named::Group};
    if (kind == Named::Credential)
        return {Named::Medium, Named::Code};
    return {kind};
}

const Place& placeOf(Named kind)
{
    for (const Place& place : places) {
        if (place.kind == kind)
            return place;
    }
    Q_UNREACHABLE();
}

QString wordOf(Named kind)
{
    QStringList words;
    const QList<Named> kinds = kindsOf(kind);
    for (const Named one : kinds)
        words.append(QLatin1String(placeOf(one).word));
    return words.join(QLatin1String(" or "));
}

} // namespace

QList<ItemNames::Candidate> ItemNames::candidates(Named kind, const QString& name) const
{
    QList<Candidate> byId;
    QList<Candidate> byName;
    const CModelReader reader(m_model);
    const QList<Named> kinds = kindsOf(kind);
    for (const Named one : kinds) {
        const Place& place = placeOf(one);
        const QList<CItemId> found = reader.resolve(QLatin1String(place.collection), place.itemClass, name);
        for (const CItemId id : found)
            (name.toLongLong() == id.value() ? byId : byName).append({id, QLatin1String(place.word)});
    }
    return byId.isEmpty() ? byName : byId;
}

CItemId ItemNames::find(Named kind, const QString& name)
{
    const QList<Candidate> found = candidates(kind, name);
    m_ambiguous = found.size() > 1;
    m_error.clear();
    if (found.size() == 1)
        return found.first().id;
    if (found.isEmpty()) {
        m_error = QStringLiteral("there is no %1 \"%2\"").arg(wordOf(kind), name.left(longestList));
        return CItemId();
    }
    QStringList all;
    for (const Candidate& candidate : found.mid(0, longestList))
        all.append(QStringLiteral("%1 %2").arg(candidate.word).arg(candidate.id.value()));
    if (found.size() > longestList)
        all.append(QStringLiteral("and %1 more").arg(found.size() - longestList));
    m_error = QStringLiteral("\"%1\" is ambiguous: %2; give the id")
                  .arg(name.left(longestList), all.join(QLatin1String(", ")));
    return CItemId();
}

bool ItemNames::findAll(Named kind, const QStringList& names, QList<CItemId>& found)
{
    QSet<qint64> known;
    for (const QString& name : names) {
        const CItemId id = find(kind, name);
        if (id == CItemId())
            return false;
        if (!known.contains(id.value()))
            found.append(id);
        known.insert(id.value());
    }
    return true;
}

QStringList ItemNames::thatBegin(Named kind, const QString& begin, int limit) const
{
    QStringList names;
    const CModelReader reader(m_model);
    const QList<Named> kinds = kindsOf(kind);
    for (const Named one : kinds) {
        const Place& place = placeOf(one);
        // What a code is called may be its digits.
        if (one != Named::Code)
            names += reader.labelsThatBegin(QLatin1String(place.collection), place.itemClass, begin, limit);
    }
    names.removeDuplicates();
    return names.mid(0, limit);
}
