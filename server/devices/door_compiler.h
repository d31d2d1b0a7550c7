#pragma once

#include <server/database/export.h>

#include <foundation/access/access_facts.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <memory>

class CSqlAccessControl;

/// What a door's device is to decide by.
struct CCompiledDoor
{
    /// What CLockList reads; of a door that is not there, or out of service, a list that opens to nobody.
    QByteArray text;
    QByteArray revision;
    /// Why there is no list that a device could take: too many schedules or entries, or a model that could not be
    /// read. Then text and revision are empty.
    QString error;
    /// Who and what it was made of: users, groups, media and codes.
    QVector<CItemId> sources;
};

/// Compiles the list of one door from the model: an entry for each right of each user there and each credential of that
/// user, unless it could never open.
///
///     CDoorCompiler compiler(&model);
///     const CCompiledDoor door = compiler.compile(doorId);
///
/// A blocked credential, a disabled user and what cannot be read are left out. Rights for online access are, too: they
/// make the device ask. Takes time by the entries.
class KYR_SERVER_EXPORT CDoorCompiler
{
public:
    /// The model is not taken over.
    explicit CDoorCompiler(const CSqlAccessControl* model);
    ~CDoorCompiler();

    /// A door of 0 is a device that has none: its list opens to nobody.
    CCompiledDoor compile(CItemId accessPoint);

private:
    class Private;
    std::unique_ptr<Private> d;
};
