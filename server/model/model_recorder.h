#pragma once

#include <server/database/export.h>

#include <foundation/core/item_id.h>

#include <QtCore/QString>
#include <QtCore/QVariantMap>
#include <QtCore/QVector>

/// One item that a transaction has changed: what was there before it and what is there behind it, in properties that
/// differ. A list of ids or rights that differs is given as what it has lost and what it has won.
struct CModelChange
{
    QString collection;
    CItemId item;
    QString what;       ///< "created", "changed" or "deleted"; for logins "login added" and the like
    QString label;      ///< of the item, or the name of a login
    QVariantMap before; ///< without codes, passwords and other secrets
    QVariantMap after;
    CItemId owner{}; ///< the user whose medium, code or login it is, or was
};

/// Is told of all changes to a model within the transaction that makes them, so that they are noted or not made.
class KYR_SERVER_EXPORT IModelRecorder
{
public:
    virtual ~IModelRecorder();
    /// False undoes the transaction. `operatorId`: who is logged in, 0 for nobody.
    virtual bool record(const QVector<CModelChange>& changes, CItemId operatorId) = 0;
};
