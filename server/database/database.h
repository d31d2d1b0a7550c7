#pragma once

#include <server/database/export.h>

#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <memory>

class QSqlQuery;
class SqlStatement;

/// The file that holds an installation, or an installation in memory.
///
///     CDatabase database;
///     if (!database.open(QStringLiteral("/var/lib/kyr/installation.db")))
///         qWarning("%s", qUtf8Printable(database.errorString()));
///     database.begin();
///     ...                                            // changes through the model
///     const bool stored = database.end(true);        // on the disk, whatever happens next
///
/// A file that is not there is an empty installation: reading makes neither the file nor its folder, the first change
/// does (mode 0600). One that another program makes meanwhile is found. A file of an older version is brought to this
/// one by open(), after a copy was made beside it ("FILE.version-N"). A folder, a file of another program, of a newer
/// version, a damaged or unreadable one is refused with one line in errorString(), and left as it is.
///
/// Several processes may have the file open: reading never waits, and a change waits for another's up to writeWait().
/// One object belongs to one thread.
class KYR_SERVER_EXPORT CDatabase : public QObject
{
    Q_OBJECT

public:
    /// Of changes that wait for another program's, by default; milliseconds.
    static constexpr int defaultWriteWait = 2000;
    /// Between two looks whether another program has changed something; milliseconds.
    static constexpr int watchInterval = 500;

    explicit CDatabase(QObject* parent = nullptr);
    /// Gives up a transaction that is open.
    ~CDatabase() override;

    /// `location` is a file or "memory". `migrations` is the folder of the numbered scripts, empty for those built in.
    bool open(const QString& location, const QString& migrations = QString());
    void close();
    bool isOpen() const;
    /// As it was given to open().
    QString location() const;
    /// "sqlite" or "memory".
    QString backend() const;
    /// Number of the schema's last migration; 0 when it is not open.
    int version() const;
    /// Whether something was ever stored: false for a file that the first change will make.
    bool exists();
    /// What went wrong last, in one line for a person.
    QString errorString() const;
    /// How many statements have failed since it was opened: whoever reads much at once sees whether all of it was read.
    qint64 failures() const;

    /// Milliseconds; at least 0.
    void setWriteWait(int milliseconds);
    int writeWait() const;

    /// Opens a transaction or goes one level deeper; each begin() takes one end(). False when it cannot be: end() will
    /// answer false, too.
    bool begin();
    /// Ends a level; `good` false, or a statement that failed inside, makes the outermost end undo everything. True
    /// when what was done is stored, or may still be by the levels around.
    bool end(bool good);
    /// What is read until the endRead() that belongs to it stands as it was at the first of these reads, whatever other
    /// programs change meanwhile. May be nested, and stand within a transaction; a transaction cannot be begun inside.
    /// False when it cannot be: then there is no endRead().
    bool beginRead();
    void endRead();
    /// Levels that are open.
    int depth() const;
    /// A statement failed since the outermost begin().
    bool hasFailed() const;

    /// The faults of the file, one line each; none for a sound one. Reads all of it.
    QStringList check();
    /// Copies the database, while it is in use, to a file of mode 0600 that must not exist.
    bool backup(const QString& file);

Q_SIGNALS:
    /// Another process has changed something, told within watchInterval; needs the event loop.
    void changedByOthers();

private:
    friend class SqlStatement;
    QSqlQuery takeQuery(const QString& sql, bool* good);
    void giveQuery(const QString& sql, QSqlQuery&& query, bool good);
    void failed(const QSqlQuery& query);
    void watch();

    class Private;
    std::unique_ptr<Private> d;
};
