#pragma once

#include <server/database/sql_connection_p.h>

#include <QtCore/QObject>
#include <QtCore/QString>

#include <memory>

/// Where an installation is kept: what stands there, how it is made, opened and copied.
class DatabasePlace : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    /// "sqlite" or "postgresql".
    virtual QString backend() const = 0;
    /// Goes where it is, if that is a way; false with a reason.
    virtual bool connectTo(QString*) { return true; }
    /// Looks whether what was opened is still what stands there, where nothing else tells: isLost() knows it then.
    virtual void look() {}
    /// What was connected is no longer there; a reason.
    virtual bool isLost(QString*) const { return false; }
    /// Whether something was ever stored there.
    virtual bool isThere() = 0;
    /// Makes what open() needs there, as far as it is missing.
    virtual bool make(QString* error) = 0;
    /// Brings an older version to this program's. Null with a reason.
    virtual std::shared_ptr<SqlConnection> open(QString* error) = 0;
    /// Looks whether another program has stored something since the last look. Never waits.
    virtual bool hasChanged() = 0;
    /// For an answer, where one can fail to come; milliseconds.
    virtual void setAnswerWait(int) {}
    /// Begins to look for what was lost; reached() tells that open() will succeed soon, missed() that it would not.
    virtual void reach() {}

Q_SIGNALS:
    /// hasChanged() has something to say already.
    void noticed();
    void reached();
    void missed();
};

/// `path` is absolute, `location` what a person calls it; `migrations` is the folder of the scripts.
std::unique_ptr<DatabasePlace> makeFilePlace(const QString& path, const QString& location, const QString& migrations);
/// `url` is "postgresql://…". Null with a reason when it cannot be read.
std::unique_ptr<DatabasePlace> makePostgresPlace(const QString& url, const QString& authority,
                                                 const QString& migrations, QString* error);
