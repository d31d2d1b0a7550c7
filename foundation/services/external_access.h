#pragma once

#include <foundation/core/export.h>
#include <foundation/core/item_id.h>

#include <QtCore/QString>
#include <QtCore/QVariantMap>

/// An access system of another kind that the host couples to the installation, such as a lift or a parking barrier.
/// Nothing in this library calls it; it is here so that hosts and their modules share one definition.
class KYR_FOUNDATION_EXPORT IExternalAccess
{
public:
    virtual ~IExternalAccess();

    virtual QString name() const = 0;
    virtual bool open(const QVariantMap& settings) = 0;
    virtual void close() = 0;
    /// Empty while all is well.
    virtual QString errorString() const = 0;
    virtual bool grantAccess(CItemId user, CItemId accessPoint, const QVariantMap& properties) = 0;
    virtual bool revokeAccess(CItemId user, CItemId accessPoint) = 0;
    virtual bool openAccessPoint(CItemId accessPoint) = 0;
};
