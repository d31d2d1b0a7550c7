#pragma once

#include <foundation/core/export.h>
#include <foundation/services/device_action.h>
#include <foundation/services/device_operation.h>

#include <QtCore/QObject>
#include <QtCore/QVariantMap>

/// The host's device layer: makes operations and actions by name and runs them.
///
///     QVariantMap parameters{{QStringLiteral("deviceId"), 123456}};
///     if (IDeviceOperation* operation = service->createDeviceOperation(QStringLiteral("readLog"), parameters)) {
///         connect(operation, &IDeviceOperation::finished, this, &Log::take);
///         service->startDeviceOperation(operation);
///     } else {
///         qWarning() << parameters.value(QStringLiteral("errorString")).toString();
///     }
///
/// Whoever made an operation ends it: once finished() came, it calls complete(), hands the operation to
/// releaseDeviceOperation() and calls dispose(). The virtual functions' order is part of the binary interface.
class KYR_FOUNDATION_EXPORT IDeviceService : public QObject
{
    Q_OBJECT

public:
    explicit IDeviceService(QObject* parent);
    ~IDeviceService() override;

    /// nullptr on failure, with the reason under "errorString" in `params`.
    virtual IDeviceOperation* createDeviceOperation(const QString& name, QVariantMap& params) = 0;
    /// Hands the operation over for execution. It may be finished when this returns.
    virtual void startDeviceOperation(IDeviceOperation* operation) = 0;
    /// For the host: takes back an operation that was started, wherever it stands.
    virtual void cancelDeviceOperation(IDeviceOperation* operation) = 0;
    /// Called once for an operation that has finished, before it is disposed of.
    virtual void releaseDeviceOperation(IDeviceOperation* operation) = 0;
    /// nullptr on failure.
    virtual IDeviceAction* createDeviceAction(const QString& name, QVariantMap& params) = 0;
};
