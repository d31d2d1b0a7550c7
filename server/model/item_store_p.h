#pragma once

#include <server/database/database.h>
#include <server/model/item_query_p.h>

#include <QtCore/QHash>
#include <QtCore/QVariantMap>

class IdList;

/// Items and their properties as rows. Knows nothing of who may change what, nor of transactions: the caller holds one
/// around changes.
class ItemStore
{
public:
    explicit ItemStore(CDatabase* database);

    /// In the order of ids.
    QList<qint64> find(const ItemQuery& query);
    /// Those that match, whatever the limit; -1 when it cannot be counted.
    qint64 count(const ItemQuery& query);
    /// With properties and relations, in the order of ids; a fixed number of statements for each thousand.
    QList<QVariantMap> load(Model::Kind kind, const QList<qint64>& ids);
    QVariantMap first(Model::Kind kind, int itemClass, const QVariantMap& filter);
    /// Invalid when the item or the property is not there.
    QVariant property(Model::Kind kind, int itemClass, const QString& name, qint64 id);

    bool exists(Model::Kind kind, int itemClass, qint64 id);
    bool haveAll(Model::Kind kind, int itemClass, const QList<qint64>& ids);
    /// KindUnknown when there is none.
    Model::Kind kindOf(qint64 id);
    int classOf(qint64 id);
    /// Of those items that are there, in one go.
    QHash<qint64, QString> labels(const QList<qint64>& ids);
    QList<qint64> idsByParent(Model::Kind kind, qint64 parent);
    /// Those whose label contains the text; in *left how many more than the limit.
    QList<qint64> findByLabel(Model::Kind kind, int itemClass, const QString& text, int limit, qint64* left);
    /// The items of a kind that have that value, by the canonical text.
    QList<qint64> idsByValue(Model::Kind kind, const QString& name, const QVariant& value);
    QStringList propertyNames(Model::Kind kind);

    /// 0 when it failed. An id of 0: the next one; another must be free.
    qint64 insert(Model::Kind kind, int itemClass, const QString& label, qint64 id = 0);
    bool erase(qint64 id);
    bool setLabel(Model::Kind kind, qint64 id, const QString& label);
    bool setClass(qint64 id, int itemClass);
    bool setParent(qint64 id, qint64 parent);
    /// An invalid value takes the row away. "label" is set by setLabel().
    bool setValue(Model::Kind kind, qint64 id, const QString& name, const QVariant& value);
    bool eraseValues(qint64 id);
    /// Of all items of a kind and class; whether one had it.
    bool eraseProperty(Model::Kind kind, int itemClass, const QString& name, QList<qint64>* had);
    /// What was known of the tables may have changed: at the begin of a transaction.
    void forget();

private:
    qint64 propertyId(Model::Kind kind, const QString& name);
    const QString& nameOf(qint64 property);
    void loadChunk(Model::Kind kind, const IdList& ids, QList<QVariantMap>* items);
    bool matches(const QVariantMap& item, const QVariantMap& filter) const;

    CDatabase* m_database;
    QHash<qint64, QString> m_names;
    QHash<QPair<int, QString>, qint64> m_ids;
};
