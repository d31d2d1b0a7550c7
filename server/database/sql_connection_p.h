#pragma once

#include <server/database/sql_dialect_p.h>

#include <QtCore/QStringList>
#include <QtCore/QVariant>

#include <functional>
#include <memory>

/// A statement that was prepared on a connection, to be run again and again.
class SqlCursor
{
public:
    SqlCursor() = default;
    virtual ~SqlCursor() = default;
    Q_DISABLE_COPY(SqlCursor)

    /// The value of the next place, from the first one behind each exec(); an invalid one is NULL.
    virtual void bind(const QVariant& value) = 0;
    virtual bool exec() = 0;
    /// False at the end of the rows, and when one could not be read: hasFailed() tells.
    virtual bool next() = 0;
    virtual bool hasFailed() const = 0;
    virtual qint64 integer(int column) const = 0;
    virtual QString text(int column) const = 0;
    virtual QByteArray bytes(int column) const = 0;
    virtual QVariant value(int column) const = 0;
    virtual bool isNull(int column) const = 0;
    /// Rows that were changed.
    virtual int changed() const = 0;
    /// Lets go of the rows, so that they hold up nobody.
    virtual void finish() = 0;
    /// In one line for a person.
    virtual QString error() const = 0;
};

/// One open connection to what holds an installation.
class SqlConnection
{
public:
    SqlConnection() = default;
    virtual ~SqlConnection() = default;
    Q_DISABLE_COPY(SqlConnection)

    virtual const SqlDialect& dialect() const = 0;
    /// Null with a reason in error().
    virtual std::unique_ptr<SqlCursor> prepare(const QString& sql) = 0;
    /// Nobody uses a prepared statement now: what is kept for them may go.
    virtual void forgetPrepared() {}
    /// Begins a transaction that changes something. Without patience it does not wait for another program's.
    virtual bool beginWrite(bool isPatient) = 0;
    /// A statement without rows.
    virtual bool run(const QString& sql) = 0;
    /// Why the last call failed, in one line for a person.
    virtual QString error() const = 0;
    /// The other side has gone: nothing works on this connection any more.
    virtual bool isLost() const { return false; }
    /// The last call failed because another program is changing what is stored.
    virtual bool isHeld() const = 0;
    enum class Outcome
    {
        Stored,
        NotStored,
        Pending, ///< ask again
        Unknown  ///< nobody knows any more
    };
    /// The transaction that was begun last to change something, by a name for outcomeOf(). Empty where the end of one
    /// always has an answer.
    virtual QString transaction() const { return {}; }
    /// What became of a transaction, also of one that another connection had begun; Pending when this one is lost.
    virtual Outcome outcomeOf(const QString&) { return Outcome::Unknown; }
    /// For another program's change, in milliseconds.
    virtual void setWriteWait(int milliseconds) = 0;
    /// Of the schema; 0 when there is none yet, -1 when it cannot be read.
    virtual int version() = 0;
    /// Notes the version, within the transaction that brought the schema to it.
    virtual bool setVersion(int version) = 0;
    /// The faults of all that is stored, one line each.
    virtual QStringList check() = 0;
    /// Copies all of it, while it is in use, into an empty file, which is a database of its own then.
    virtual bool copyTo(const QString& file) = 0;
};
