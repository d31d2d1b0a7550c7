#pragma once

#include <server/model/model_vocabulary_p.h>

#include <QtCore/QVariantMap>

class CDatabase;

/// Which items are wanted.
struct ItemQuery
{
    Model::Kind kind = Model::KindUnknown;
    int itemClass = Model::anyClass;
    /// All must match: by the canonical texts of the item's values, where what is not there is the empty text.
    QVariantMap filter;
    /// None of these may be there with that value.
    QVariantMap unlike;
    QList<qint64> among; ///< only these; empty: all
    qint64 after = 0;    ///< ids above this one only
    int limit = -1;      ///< -1: all
};

/// A query as the database is asked.
struct ItemCondition
{
    ItemCondition(CDatabase* database, const ItemQuery& query);

    /// What stands behind FROM, with the values of its places; the ids are in the column `id`.
    QString from;
    QVariantList values;
    QString id = QStringLiteral("i.id");
    /// False when the rows that it finds are to be looked at once more.
    bool isExact = true;

    /// The property of a row of values, by its kind and name.
    static const QString ofProperty;
};
