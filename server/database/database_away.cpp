// A server that is lost, or a file that was moved: everything fails from then on, until it is found again. And what
// other programs have changed meanwhile.
#include <server/database/database_p.h>

#include <QtCore/QPointer>

bool CDatabase::Private::isLost()
{
    QString reason;
    if (state == Closed || !place || !place->isLost(&reason))
        return false;
    failed = depth > 0;
    fail(reason);
    if (state != Away) {
        state = Away;
        qWarning("Database: %s", qUtf8Printable(reason));
        pause = firstPause;
        retry.start(pause);
        // Not from within a statement.
        QTimer::singleShot(0, q, [this] {
            if (state == Away)
                Q_EMIT q->awayChanged(true);
        });
    }
    return true;
}

void CDatabase::Private::tryAgain()
{
    QString reason;
    if (place->isLost(&reason))
        errorString = reason;
    pause = qMin(2 * pause, longestPause);
    retry.start(pause);
}

void CDatabase::comeBack()
{
    // What is half done there is not gone on with here.
    if (d->state != Private::Away || d->isBusy() || d->inUse > 0) {
        d->retry.start(firstPause);
        return;
    }
    if (!(d->place->isThere() ? d->openPlace() : d->openMemory()) || d->isLost()) {
        d->state = Private::Away;
        d->tryAgain();
        return;
    }
    d->retry.stop();
    qInfo("Database: %s is available again", qUtf8Printable(d->location));
    const QPointer<CDatabase> guard(this);
    Q_EMIT awayChanged(false);
    if (guard && settle())
        Q_EMIT changedByOthers();
}

// Not from within begin(): those whom it is told may begin something themselves. False when this is gone.
bool CDatabase::settle()
{
    using Outcome = SqlConnection::Outcome;
    if (d->unsettled.isEmpty() || d->state != Private::Open)
        return true;
    const Outcome outcome = d->connection->outcomeOf(d->unsettled);
    if (outcome == Outcome::Pending)
        return true;
    d->unsettled.clear();
    qWarning("Database: the change whose end %s did not answer %s", qUtf8Printable(d->location),
             outcome == Outcome::Stored      ? "is stored"
             : outcome == Outcome::NotStored ? "was not stored"
                                             : "may be stored or not: nobody knows any more");
    const QPointer<CDatabase> guard(this);
    Q_EMIT settled(outcome == Outcome::Stored);
    return guard;
}

void CDatabase::watch()
{
    if (d->state == Private::Closed || d->state == Private::Away || d->isBusy())
        return;
    if (d->state == Private::Awaited) {
        if (d->place->isThere() && d->inUse == 0 && d->openPlace())
            Q_EMIT changedByOthers();
        else
            d->isLost();
        return;
    }
    d->place->look();
    const bool hasChanged = d->place->hasChanged();
    if (settle() && !d->isLost() && hasChanged)
        Q_EMIT changedByOthers();
}
