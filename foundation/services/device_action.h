#pragma once

#include <foundation/core/export.h>

#include <QtCore/QObject>
#include <QtCore/QVariantMap>

/// A short action on a device, such as opening it or reading its state. IDeviceService makes it.
///
/// Some are finished when they are made; for the others finished() comes once:
///
///     if (action->isFinished())
///         use(action->result());
///     else
///         connect(action, &IDeviceAction::finished, this, [=] { use(action->result()); action->dispose(); });
///
/// The virtual functions' order is part of the binary interface.
class KYR_FOUNDATION_EXPORT IDeviceAction : public QObject
{
    Q_OBJECT

public:
    explicit IDeviceAction(QObject* parent);
    ~IDeviceAction() override;

    /// For the host: begins the action, unless making it did.
    virtual void start() = 0;
    /// For the host: the name by which it was made.
    virtual QString name() const = 0;

    virtual bool isFinished() const = 0;
    /// What came out of it; empty before it is finished.
    virtual QVariantMap result() const = 0;

    /// For the host: why it failed, empty if it did not.
    virtual QString errorString() const = 0;

    /// Ends the action early; finished() follows.
    Q_INVOKABLE virtual void abort() = 0;
    /// Deletes the action, at once or later, as its maker sees fit.
    Q_INVOKABLE virtual void dispose() = 0;

Q_SIGNALS:
    void progress(const QString& msg);
    void finished();
};
