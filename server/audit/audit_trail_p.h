#pragma once

#include <server/audit/audit_trail.h>
#include <server/database/sql_statement_p.h>

/// What the sources of the trail share.
class CAuditTrail::Private
{
public:
    explicit Private(CDatabase* ownDatabase)
        : database(ownDatabase)
    {
    }

    bool fail(const QString& text)
    {
        error = text;
        return false;
    }
    bool failInDatabase() { return fail(database->errorString()); }
    /// The number of this process's chain, made at need; 0 when that failed.
    qint64 ownChain();
    /// Loads the key, made at need.
    bool needKey();
    /// Loads the key if there is one.
    bool findKey();
    QString keyFile() const;
    bool storeHead(AuditHead& head);
    bool appendOne(SqlStatement& add, qint64 chain, const AuditEvent& event, qint64 now, AuditRecord& last);
    /// The record at the end of a chain; seq 0 and the first hash for one without events.
    AuditRecord end(qint64 chain);
    /// Gives all records by chain and number, in pages, so that no statement stays open for long. False when the
    /// database or the receiver gave up.
    bool forEach(const std::function<bool(const AuditRecord&, SqlStatement&)>& receive);

    CDatabase* database;
    QString chainName = CAuditTrail::defaultChainName();
    QString operatorName;
    QString error;
    qint64 chain = 0;
    AuditKey key;
    bool keyFaultTold = false;
};

/// The columns of a record as readRecord() expects them.
QString auditColumns();
AuditRecord readRecord(SqlStatement& statement);
