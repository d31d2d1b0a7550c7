#include <server/devices/device_tasks_p.h>

#include <server/devices/device_service.h>

// --- Operations

DeviceOperation::DeviceOperation(CDoorController* controller, CDeviceId device, QObject* parent)
    : IDeviceOperation(parent, InteractivePriority)
    , m_controller(controller)
    , m_device(device)
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this,
            [this] { end(m_controller ? m_controller->status(m_device).fault : QStringLiteral("the program ends")); });
}

void DeviceOperation::execute()
{
    if (status() != Pending)
        return;
    setStatus(Running);
    QPointer<DeviceOperation> guard(this);
    Q_EMIT started();
    if (!guard || status() != Running)
        return;
    if (!m_controller || !m_controller->status(m_device).isLinked)
        return end(QStringLiteral("device %1 is not linked").arg(m_device.toLabel()));
    connect(m_controller, &CDoorController::statusChanged, this, [this](CDeviceId device) {
        if (device == m_device)
            look();
    });
    m_timer.start(CDeviceService::operationWait);
    begin(*m_controller);
    look();
}

void DeviceOperation::look()
{
    if (status() != Running || !m_controller)
        return;
    const CDoorController::Status now = m_controller->status(m_device);
    if (isReached(now))
        end(QString());
    else if (!now.isLinked)
        end(QStringLiteral("device %1 has lost its link").arg(m_device.toLabel()));
}

void DeviceOperation::abort()
{
    if (status() == Pending || status() == Running)
        end(QStringLiteral("aborted"));
}

void DeviceOperation::end(const QString& error)
{
    m_timer.stop();
    if (m_controller)
        m_controller->disconnect(this);
    m_error = error;
    setStatus(error.isEmpty() ? Done : Failed);
    Q_EMIT finished();
}

QString TransferOperation::description() const
{
    return tr("Transfer of authorizations to device %1").arg(CDeviceId(deviceId()).toLabel());
}

void TransferOperation::begin(CDoorController& controller)
{
    controller.sync(CDeviceId(deviceId()));
}

bool TransferOperation::isReached(const CDoorController::Status& status)
{
    m_revision = QString::fromLatin1(status.revision);
    return status.isUpToDate;
}

QString ReadEventsOperation::description() const
{
    return tr("Reading of events of device %1").arg(CDeviceId(deviceId()).toLabel());
}

bool ReadEventsOperation::isReached(const CDoorController::Status& status)
{
    m_stored = status.storedEvents;
    m_lost = status.lostEvents;
    return status.nextEvent > 0 && status.storedEvents + 1 >= status.nextEvent;
}

// --- Actions

DeviceAction::DeviceAction(const QString& name, QObject* parent)
    : IDeviceAction(parent)
    , m_name(name)
{
}

void DeviceAction::finish(const QVariantMap& result, const QString& error)
{
    if (m_isFinished)
        return;
    m_isFinished = true;
    m_result = result;
    m_error = error;
    Q_EMIT finished();
}

void DeviceAction::abort()
{
    finish({}, QStringLiteral("aborted"));
}
