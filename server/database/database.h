#pragma once

#include <server/database/export.h>

#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <memory>

class SqlCursor;
struct SqlDialect;
class SqlStatement;

/// Where an installation is kept: a file, a database of a PostgreSQL server, or memory.
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
/// "postgresql://[USER@]HOST[:PORT]/NAME" names a database that is there on a server; what an installation needs is
/// made in it by the first change. The password comes from PGPASSWORD or the file that PGPASSFILE names. Beyond this
/// machine the server's certificate is checked, name and authority. While the server is away, everything fails at
/// once, and it is looked for after 1, 2, 4 … 30 s (that needs the event loop). No call waits longer than
/// answerWait() for it. One that lives but is slow is used again as soon as its answer has come. Where end() has had no
/// answer, errorString() says that it is not known whether the change is stored; that is asked for as soon as somebody
/// is there to answer, settled() tells it, and until then nothing can be changed.
///
/// Several processes may have it open: reading never waits, and a change waits for another's up to writeWait().
/// One object belongs to one thread.
class KYR_SERVER_EXPORT CDatabase : public QObject
{
    Q_OBJECT

public:
    /// Of changes that wait for another program's, by default; milliseconds.
    static constexpr int defaultWriteWait = 2000;
    /// For each answer of a server, by default; milliseconds. Whoever runs an event loop waits less.
    static constexpr int defaultAnswerWait = 4000;
    /// Between two looks whether another program has changed something; milliseconds. A server tells it at once.
    static constexpr int watchInterval = 500;
    /// The pauses before a lost server is looked for: the first, doubled up to the last; milliseconds.
    static constexpr int firstPause = 1000;
    static constexpr int longestPause = 30000;

    explicit CDatabase(QObject* parent = nullptr);
    /// Gives up a transaction that is open.
    ~CDatabase() override;

    /// `location` is a file, "postgresql://…" or "memory". `migrations` is the folder of the numbered scripts, empty
    /// for those built in.
    bool open(const QString& location, const QString& migrations = QString());
    void close();
    bool isOpen() const;
    /// As it was given to open().
    QString location() const;
    /// "sqlite", "postgresql" or "memory".
    QString backend() const;
    /// Where files stand that belong to the installation, such as the key of its trail: the folder of the file, or the
    /// one that a program of this system keeps its files in. Empty for "memory".
    QString folder() const;
    /// Where this program's user (a service: the service) keeps installations that nobody has named a place for.
    static QString defaultFolder();
    /// Number of the schema's last migration; 0 when it is not open.
    int version() const;
    /// Whether something was ever stored: false for a file that the first change will make.
    bool exists();
    /// The server cannot be reached now, or the file is no longer the one that was opened.
    bool isAway() const;
    /// Whether the last end() is stored is not known yet.
    bool isUnsettled() const;
    /// Why the last change was not stored that the database, not the program, refused; empty after one that was. That
    /// another program was changing it, for some seconds, or that a server is away, does not count.
    QString changeFault() const;
    /// The last begin() failed because somebody else was changing the installation: to try again is worth while.
    bool isHeld() const;
    /// What went wrong last, in one line for a person.
    QString errorString() const;
    /// How many statements have failed since it was opened: whoever reads much at once sees whether all of it was read.
    qint64 failures() const;

    /// Milliseconds; at least 0. Who has waited that long in vain is not made to wait again for as long.
    void setWriteWait(int milliseconds);
    int writeWait() const;
    /// For each answer of a server; milliseconds, at least 10.
    void setAnswerWait(int milliseconds);
    int answerWait() const;
    /// A file with the certificates of the authority that a server's certificate is checked with; before open().
    void setAuthority(const QString& file);

    /// Opens a transaction or goes one level deeper; each begin() takes one end(). False when it cannot be: end() will
    /// answer false, too.
    bool begin();
    /// The same, but does not wait for another program's change: then it fails at once, and isHeld() tells.
    bool tryBegin();
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
    /// The server is away, or there again. What others have changed meanwhile is told behind it.
    void awayChanged(bool isAway);
    /// What became of the transaction that isUnsettled() was about.
    void settled(bool isStored);

private:
    friend class SqlStatement;
    friend const SqlDialect& dialectOf(CDatabase* database);
    std::unique_ptr<SqlCursor> takeCursor(const QString& sql, int* connection);
    void giveCursor(const QString& sql, std::unique_ptr<SqlCursor> cursor, int connection);
    void failed(const SqlCursor* cursor);
    void watch();
    void comeBack();
    bool settle();

    class Private;
    std::unique_ptr<Private> d;
};
