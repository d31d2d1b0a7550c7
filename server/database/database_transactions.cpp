// Transactions, reading of one state, and whether changes can be stored at all.
#include <server/database/database_p.h>

#include <server/database/sql_statement_p.h>

#include <utility>

namespace {

// Who keeps others from changing anything for longer is no busy program, but one that stands still; milliseconds.
constexpr int longestHold = 10000;

} // namespace

bool CDatabase::begin()
{
    return d->begin(true);
}

bool CDatabase::tryBegin()
{
    return d->begin(false);
}

bool CDatabase::Private::begin(bool isPatient)
{
    if (depth++ > 0)
        return !failed;
    begun = beginOutermost(isPatient && !impatience.isActive());
    failed = !begun;
    if (!begun)
        noteChange(false);
    return begun;
}

bool CDatabase::Private::beginOutermost(bool isPatient)
{
    isHeld = false;
    if (place)
        place->look();
    if (!q->isOpen() || isLost())
        return false;
    if (reading > 0)
        return fail(QStringLiteral("a change cannot begin before reading has ended"));
    isHeld = q->isUnsettled();
    if (isHeld)
        return fail(location + QLatin1String(" has not answered yet whether an earlier change is stored; try again"));
    if (state == Awaited) {
        QString reason;
        if (!place->isThere() && !place->make(&reason))
            return fail(reason);
        if (!openPlace()) {
            isLost();
            return false;
        }
    }
    if (connection->beginWrite(isPatient))
        return true;
    isHeld = connection->isHeld();
    fail(connection->error());
    if (isLost())
        return false;
    connection->run(QStringLiteral("ROLLBACK"));
    if (isHeld && isPatient && writeWait > 0)
        impatience.start(writeWait);
    return false;
}

bool CDatabase::end(bool good)
{
    if (d->depth == 0)
        return false;
    d->failed |= !good;
    if (--d->depth > 0)
        return !d->failed;
    if (!std::exchange(d->begun, false))
        return false;
    return d->endOutermost();
}

bool CDatabase::Private::endOutermost()
{
    const bool isTried = !std::exchange(failed, false);
    if (isTried && connection->run(QStringLiteral("COMMIT"))) {
        noteChange(true);
        return true;
    }
    if (isTried)
        errorString = connection->error();
    if (!isLost())
        connection->run(QStringLiteral("ROLLBACK"));
    else if (isTried)
        unsettled = connection->transaction();
    if (isTried || isRefused)
        noteChange(false);
    return false;
}

// One line each time that it gets worse or better.
void CDatabase::Private::noteChange(bool isStored)
{
    isRefused = false;
    if (!isHeld)
        heldSince.invalidate();
    else if (!heldSince.isValid())
        heldSince.start();
    const bool isNoFault =
        (isHeld && !heldSince.hasExpired(longestHold)) || reading > 0 || state == Closed || state == Away;
    if (isStored ? changeFault.isEmpty() : isNoFault)
        return;
    const bool isNew = changeFault.isEmpty();
    changeFault = isStored ? QString() : errorString;
    if (isStored)
        qInfo("Database: changes are stored again");
    else if (isNew)
        qWarning("Database: a change could not be stored: %s", qUtf8Printable(errorString));
}

bool CDatabase::beginRead()
{
    // Within a transaction the reads are part of it.
    if (d->reading == 0 && d->depth == 0) {
        if (!SqlStatement(this, dialectOf(this).beginRead).exec())
            return false;
        d->readBegun = true;
    }
    ++d->reading;
    return true;
}

void CDatabase::endRead()
{
    if (d->reading > 0 && --d->reading == 0 && std::exchange(d->readBegun, false))
        SqlStatement(this, QStringLiteral("COMMIT")).exec();
}

int CDatabase::depth() const
{
    return d->depth;
}

bool CDatabase::hasFailed() const
{
    return d->depth > 0 && d->failed;
}
