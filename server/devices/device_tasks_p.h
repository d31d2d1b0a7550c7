#pragma once

#include <server/devices/door_controller.h>

#include <foundation/services/device_action.h>
#include <foundation/services/device_operation.h>

#include <QtCore/QPointer>
#include <QtCore/QTimer>

/// Waits until a device is where it should be; the derived classes say where that is.
class DeviceOperation : public IDeviceOperation
{
    Q_OBJECT
    Q_PROPERTY(quint32 deviceId READ deviceId)
    Q_PROPERTY(QString errorString READ errorString)

public:
    DeviceOperation(CDoorController* controller, CDeviceId device, QObject* parent);

    quint32 deviceId() const { return m_device.value(); }
    QString errorString() const { return m_error; }

    bool complete() override { return status() == Done; }
    void execute() override;
    void abort() override;
    void dispose() override { deleteLater(); }
    void takeFromManager() override {}

protected:
    virtual void begin(CDoorController& controller) { Q_UNUSED(controller) }
    virtual bool isReached(const CDoorController::Status& status) = 0;

private:
    void look();
    void end(const QString& error);

    QPointer<CDoorController> m_controller;
    CDeviceId m_device;
    QString m_error;
    QTimer m_timer;
};

class TransferOperation : public DeviceOperation
{
    Q_OBJECT
    Q_PROPERTY(QString revision READ revision)

public:
    using DeviceOperation::DeviceOperation;

    QString revision() const { return m_revision; }
    QString description() const override;

private:
    void begin(CDoorController& controller) override;
    bool isReached(const CDoorController::Status& status) override;

    QString m_revision;
};

class ReadEventsOperation : public DeviceOperation
{
    Q_OBJECT
    Q_PROPERTY(qint64 storedEvents READ storedEvents)
    Q_PROPERTY(qint64 lostEvents READ lostEvents)

public:
    using DeviceOperation::DeviceOperation;

    qint64 storedEvents() const { return m_stored; }
    qint64 lostEvents() const { return m_lost; }
    QString description() const override;

private:
    bool isReached(const CDoorController::Status& status) override;

    qint64 m_stored = 0;
    qint64 m_lost = 0;
};

/// Finished when it is made, or when the device has answered.
class DeviceAction : public IDeviceAction
{
    Q_OBJECT

public:
    DeviceAction(const QString& name, QObject* parent);

    void start() override {}
    QString name() const override { return m_name; }
    bool isFinished() const override { return m_isFinished; }
    QVariantMap result() const override { return m_result; }
    QString errorString() const override { return m_error; }
    void abort() override;
    void dispose() override { deleteLater(); }

    void finish(const QVariantMap& result, const QString& error = QString());

private:
    QString m_name;
    QVariantMap m_result;
    QString m_error;
    bool m_isFinished = false;
};
