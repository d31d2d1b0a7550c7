#include <server/devices/device_service.h>

#include <server/devices/device_tasks_p.h>

namespace {

const QString errorKey = QStringLiteral("errorString");

CDeviceId deviceOf(const QVariantMap& params)
{
    const QVariant label = params.value(QStringLiteral("device"));
    if (label.isValid())
        return CDeviceId::fromLabel(label.toString());
    return CDeviceId(params.value(QStringLiteral("deviceId")).toUInt());
}

} // namespace

CDeviceService::CDeviceService(CDoorController* controller, QObject* parent)
    : IDeviceService(parent)
    , m_controller(controller)
{
}

CDeviceService::~CDeviceService() = default;

void CDeviceService::setController(CDoorController* controller)
{
    m_controller = controller;
}

IDeviceOperation* CDeviceService::createDeviceOperation(const QString& name, QVariantMap& params)
{
    const CDeviceId device = deviceOf(params);
    if (!device.isValid())
        params.insert(errorKey, QStringLiteral("\"device\" takes the label of a device"));
    else if (!m_controller)
        params.insert(errorKey, QStringLiteral("no devices are served here"));
    else if (name == QLatin1String("transferAuthorizations"))
        return new TransferOperation(m_controller, device, this);
    else if (name == QLatin1String("readEvents"))
        return new ReadEventsOperation(m_controller, device, this);
    else
        params.insert(errorKey, QStringLiteral("there is no operation \"%1\"").arg(name));
    return nullptr;
}

void CDeviceService::startDeviceOperation(IDeviceOperation* operation)
{
    if (operation)
        operation->execute();
}

void CDeviceService::cancelDeviceOperation(IDeviceOperation* operation)
{
    if (operation)
        operation->abort();
}

void CDeviceService::releaseDeviceOperation(IDeviceOperation* operation)
{
    if (operation)
        operation->takeFromManager();
}

IDeviceAction* CDeviceService::createDeviceAction(const QString& name, QVariantMap& params)
{
    const CDeviceId device = deviceOf(params);
    const bool isOpening = name == QLatin1String("open");
    if (!m_controller || !device.isValid() || (!isOpening && name != QLatin1String("status"))) {
        params.insert(errorKey, !device.isValid() ? QStringLiteral("\"device\" takes the label of a device")
                                : !m_controller   ? QStringLiteral("no devices are served here")
                                                  : QStringLiteral("there is no action \"%1\"").arg(name));
        return nullptr;
    }
    auto* action = new DeviceAction(name, this);
    if (!isOpening) {
        const CDoorController::Status status = m_controller->status(device);
        action->finish({{QStringLiteral("linked"), status.isLinked},
                        {QStringLiteral("upToDate"), status.isUpToDate},
                        {QStringLiteral("revision"), QString::fromLatin1(status.revision)},
                        {QStringLiteral("accessPoint"), status.accessPoint.value()},
                        {QStringLiteral("fault"), status.fault},
                        {QStringLiteral("clockAhead"), status.clockAhead},
                        {QStringLiteral("storedEvents"), status.storedEvents},
                        {QStringLiteral("lostEvents"), status.lostEvents}});
        return action;
    }
    CLockOpen open;
    open.seconds = qBound(1, params.value(QStringLiteral("seconds"), open.seconds).toInt(), CLockOpen::mostSeconds);
    open.comment = params.value(QStringLiteral("comment")).toString().left(CLockOpen::longestText);
    open.operatorName = params.value(QStringLiteral("operator")).toString().left(CLockOpen::longestText);
    QPointer<DeviceAction> guard(action);
    m_controller->command(device, open, [guard](const QString& error) {
        if (!guard)
            return;
        QVariantMap result{{QStringLiteral("opened"), error.isEmpty()}};
        if (!error.isEmpty())
            result.insert(errorKey, error);
        guard->finish(result, error);
    });
    return action;
}
