#pragma once

#include <server/database/export.h>

#include <foundation/core/item_id.h>

#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVariantMap>

class CSqlAccessControl;

/// Whole lists for people and programs: rows with everything that a table shows, put together with a fixed number of
/// statements for each thousand rows, however large the installation is.
///
///     CModelReader reader(&model);
///     CModelReader::Query query;
///     query.filter = {{QStringLiteral("Department"), QStringLiteral("IT")}};
///     query.limit = 20;
///     const CModelReader::Page page = reader.users(query);      // page.rows, and page.left that match behind them
///
/// Ids are numbers, lists of ids lists of numbers; an id or a time that is not there is an invalid value. "properties"
/// are all further properties of an item by their names.
class KYR_SERVER_EXPORT CModelReader
{
public:
    struct Query
    {
        /// By property names ("id", "label" included) and whole values, as canonicalText() compares them; "uid" also in
        /// any of its forms, validities also as texts. Without a row "enabled" is true and "blocked" false.
        QVariantMap filter;
        /// Only these items; empty: all.
        QList<CItemId> among;
        /// Ids above this one.
        CItemId after;
        /// -1: all.
        int limit = -1;
    };
    struct Page
    {
        QList<QVariantMap> rows;
        /// Rows that match behind the last one.
        qint64 left = 0;
    };

    /// The model is not taken over.
    explicit CModelReader(const CSqlAccessControl* model);

    /// "id" "label" "department" "email" "groups" "groupIds" "accessPoints" "accessPointIds" "media" "mediaIds"
    /// "enabled" "properties"
    Page users(const Query& query) const;
    /// "id" "label" "users" "userIds" "accessPoints" "accessPointIds" "properties"
    Page groups(const Query& query) const;
    /// "id" "label" "building" "floor" "timeZone" "device" "enabled" "properties"
    Page doors(const Query& query) const;
    /// "id" "label" "description" "type" "uid" "user" "userId" "validFrom" "validTo" "blocked" "properties"
    Page media(const Query& query) const;
    /// "id" "description" "user" "userId" "validFrom" "validTo" "blocked" "properties"; never the code
    Page codes(const Query& query) const;
    /// "id" "label" "slots" "calendar" "calendarId"
    Page schedules(const Query& query) const;
    /// "id" "label" "date" "calendar" "calendarId"
    Page holidays(const Query& query) const;
    /// "id" "label"
    Page calendars(const Query& query) const;
    /// "id" "label" "accessPoint" "accessPointId"
    Page devices(const Query& query) const;
    /// "name" "user" "userId" "permissions" (bits) "otp"
    QList<QVariantMap> logins() const;
    /// Items of a kind ("users", "groups", "doors", "media", "rights", ...) in one go, by these names.
    QVariantMap counts() const;

    enum Preference
    {
        IdFirst,
        LabelFirst
    };
    /// The items of a collection ("UsersGroups", "Media", ...) with that label, or with that id where the text is one.
    /// Of users and groups those of one class (UserClassUser, UserClassGroup), or all (0). A medium is found by its
    /// UID, too, a code by its description.
    QList<CItemId> resolve(const QString& collection, int itemClass, const QString& name,
                           Preference preference = IdFirst) const;
    /// Labels of a collection's items that begin so, each once, in order, at most `limit`. Of users and groups those of
    /// one class, as in resolve().
    QStringList labelsThatBegin(const QString& collection, int itemClass, const QString& begin, int limit) const;
    /// Names of the properties that items of a collection have, beside those that are columns of its table.
    QStringList propertyNames(const QString& collection) const;
    /// The labels of items; those that are not there are left out.
    QMap<CItemId, QString> labels(const QList<CItemId>& ids) const;

private:
    const CSqlAccessControl* m_model;
};
