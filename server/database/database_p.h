#pragma once

#include <server/database/database.h>
#include <server/database/database_place_p.h>
#include <server/database/idle_cursors_p.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QTimer>

#include <memory>

/// What opening, transactions, and the way back to a lost server share; a source of its own is written for each.
class CDatabase::Private
{
public:
    explicit Private(CDatabase* database)
        : q(database)
    {
    }

    enum State
    {
        Closed,
        Awaited, ///< nothing is stored yet; an empty installation in memory stands for it
        Open,
        Away ///< the server cannot be reached, or the file was moved
    };

    bool fail(const QString& text)
    {
        errorString = text;
        return false;
    }
    void use(std::shared_ptr<SqlConnection> other);
    bool openMemory();
    bool openPlace();
    /// Looks whether the server is still there; else everything fails from now on.
    bool isLost();
    void tryAgain();
    bool isBusy() const { return depth > 0 || reading > 0; }
    bool begin(bool isPatient);
    bool beginOutermost(bool isPatient);
    bool endOutermost();
    void noteChange(bool isStored);

    CDatabase* q;
    State state = Closed;
    QString location;
    QString authority;
    std::unique_ptr<DatabasePlace> place; ///< none for "memory"
    QString errorString;
    std::shared_ptr<SqlConnection> connection;
    int connectionNumber = 0; ///< by which cursors of an earlier one are known
    IdleCursors idle;
    int inUse = 0;   ///< cursors that a statement holds
    int version = 0; ///< of the newest schema that this program knows
    int writeWait = defaultWriteWait;
    int answerWait = defaultAnswerWait;
    int depth = 0;
    qint64 failures = 0;
    int reading = 0;        ///< levels of beginRead()
    bool readBegun = false; ///< in the database
    bool failed = false;    ///< something within the transaction
    bool begun = false;     ///< the transaction, in the database
    bool isHeld = false;    ///< by another program's change
    QElapsedTimer heldSince;
    bool isRefused = false; ///< by the database, within the transaction
    QString unsettled;      ///< a transaction by its name
    QString changeFault;
    int pause = firstPause; ///< before the server is looked for once more
    QTimer watcher;
    QTimer retry;
    QTimer impatience; ///< while it runs nobody waits for other programs' changes
};
