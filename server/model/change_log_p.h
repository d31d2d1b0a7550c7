#pragma once

#include <server/model/model_vocabulary_p.h>

#include <QtCore/QString>
#include <QtCore/QVariantMap>
#include <QtCore/QVector>

class CDatabase;

/// What a transaction did to one item.
struct ItemChange
{
    Model::Kind kind;
    qint64 id;
    Model::Change what;
};

/// The changes of an installation in the order of their numbers, in a table of the database: so each process hears of
/// what any of them has changed. Of many items of one kind in one transaction only that there were many is written, and
/// only the last hundred thousand changes are kept.
class ChangeLog
{
public:
    /// The database outlives it.
    explicit ChangeLog(CDatabase* database)
        : m_database(database)
    {
    }

    /// Notes what is to be written at the end of the transaction.
    void note(Model::Kind kind, qint64 id, Model::Change what) { m_noted.append({kind, id, what}); }
    const QVector<ItemChange>& noted() const { return m_noted; }
    void forgetNoted() { m_noted.clear(); }
    /// Writes what was noted, within the transaction, under the name of the server whose change it is. False when the
    /// database does not take it.
    bool write(const QString& server);

    /// News is what comes from now on.
    void skip() { m_told = last(); }
    struct News
    {
        /// By collection a list of {"id": …}; an empty list for many, and for all that may have changed
        /// when changes are gone that were not told. Empty when there is none.
        QVariantMap data;
        qint64 seq = 0; ///< number of the last change
    };
    /// The changes that were not told yet, whoever made them; they are told now.
    News takeNews();

private:
    qint64 first() const;
    qint64 last() const;

    CDatabase* m_database;
    QVector<ItemChange> m_noted;
    qint64 m_told = 0;
};
