#include <foundation/services/script_service.h>

#include <foundation/core/device_id.h>
#include <foundation/services/device_service.h>
#include <foundation/services/pending_answer_p.h>
#include <foundation/services/script_values_p.h>
#include <foundation/services/simple_access_control.h>

#include <functional>

using namespace ScriptValues;
using Model = ISimpleAccessControl;

CScriptService::CScriptService(ISimpleAccessControl* accessControl, IDeviceService* deviceService,
                               const QObject* parent)
    : QObject(const_cast<QObject*>(parent))
    , m_accessControl(accessControl)
    , m_deviceService(deviceService)
{
}

CScriptService::~CScriptService() = default;

// --- What all operations share

template<typename Operation, typename... Arguments>
auto CScriptService::call(Operation operation, Arguments&&... arguments) const
{
    using Result = decltype(fromModel(std::invoke(operation, *m_accessControl, arguments...)));
    return m_accessControl ? fromModel(std::invoke(operation, *m_accessControl, arguments...)) : Result();
}

template<typename Operation>
QVariant CScriptService::property(Operation operation, const QString& name, const QString& id) const
{
    return m_accessControl ? propertyFromModel(name, std::invoke(operation, *m_accessControl, name, itemId(id)))
                           : QVariant();
}

PendingAnswer* CScriptService::newPendingAnswer(const Callback& callback, const char* operation)
{
    if (!callback)
        qWarning("CScriptService: %s without a callback", operation);
    return new PendingAnswer(
        callback ? callback : [](const QVariantMap&) {}, this);
}

// For operations that take a callback themselves; it may outlive this object, and may be called more than once.
CScriptService::Callback CScriptService::guarded(const Callback& callback, const char* operation)
{
    const QPointer<PendingAnswer> pending = newPendingAnswer(callback, operation);
    return [pending](const QVariantMap& result) {
        if (pending)
            pending->answer(fromModel(result));
    };
}

// --- Access points

QVariantMap CScriptService::getAccessPoint(const QVariantMap& filter) const
{
    return call(&Model::getAccessPoint, filter);
}

QVariant CScriptService::createAccessPoint(const QVariantMap& properties)
{
    return call(&Model::createAccessPoint, properties);
}

QVariant CScriptService::deleteAccessPoint(const QString& id)
{
    return call(&Model::deleteAccessPoint, itemId(id));
}

QVariant CScriptService::getAccessPointProperty(const QString& name, const QString& id) const
{
    return property(&Model::getAccessPointProperty, name, id);
}

QVariant CScriptService::setAccessPointProperty(const QString& name, const QVariant& value, const QString& id)
{
    return call(&Model::setAccessPointProperty, name, value, itemId(id));
}

QVariant CScriptService::deleteAccessPointProperty(const QString& name)
{
    return call(&Model::deleteAccessPointProperty, name);
}

QVariant CScriptService::setAccessPointsLocationProperties(const QVariantMap& properties, const QStringList& ids)
{
    return call(&Model::setAccessPointsLocationProperties, properties, itemIds(ids));
}

QVariant CScriptService::openAccessPoint(const QString& id, const QVariantMap& parameters)
{
    return call(&Model::openAccessPoint, itemId(id), parameters);
}

QVariant CScriptService::executeAccessPointAsLoggedInUser(const QString& id, unsigned int action,
                                                          const QVariantMap& parameters, const QVariantMap& options)
{
    return call(&Model::executeAccessPointAsLoggedInUser, id, action, parameters, options);
}

QVariant CScriptService::addDeviceToAccessPoint(const QString& device, const QString& id, const QVariantMap& parameters)
{
    return call(&Model::addDeviceToAccessPoint, device, itemId(id), parameters);
}

QVariantList CScriptService::getAccessPointsRelatedToLoggedInUser(const QString& text)
{
    return call(&Model::getAccessPointsRelatedToLoggedInUser, text);
}

// --- Authorization points

QVariant CScriptService::getAuthorizationPointProperty(const QString& name, const QString& id) const
{
    return property(&Model::getAuthorizationPointProperty, name, id);
}

QVariant CScriptService::setAuthorizationPointProperty(const QString& name, const QVariant& value, const QString& id)
{
    return call(&Model::setAuthorizationPointProperty, name, value, itemId(id));
}

QVariant CScriptService::deleteAuthorizationPointProperty(const QString& name)
{
    return call(&Model::deleteAuthorizationPointProperty, name);
}

// --- Users

QVariantMap CScriptService::getUser(const QVariantMap& filter) const
{
    return call(&Model::getUser, filter);
}

QVariant CScriptService::createUser(const QVariantMap& properties)
{
    return call(&Model::createUser, properties);
}

QVariant CScriptService::deleteUser(const QString& id)
{
    return call(&Model::deleteUser, itemId(id));
}

QVariantMap CScriptService::cloneUserOrGroup(const QString& id, const QStringList& properties)
{
    return call(&Model::cloneUserOrGroup, itemId(id), properties);
}

QVariant CScriptService::getUserProperty(const QString& name, const QString& id) const
{
    return property(&Model::getUserProperty, name, id);
}

QVariant CScriptService::setUserProperty(const QString& name, const QVariant& value, const QString& id)
{
    return call(&Model::setUserProperty, name, value, itemId(id));
}

QVariant CScriptService::deleteUserProperty(const QString& name)
{
    return call(&Model::deleteUserProperty, name);
}

// --- Groups

QVariantMap CScriptService::getGroup(const QVariantMap& filter) const
{
    return call(&Model::getGroup, filter);
}

QVariant CScriptService::createGroup(const QVariantMap& properties)
{
    return call(&Model::createGroup, properties);
}

QVariant CScriptService::deleteGroup(const QString& id)
{
    return call(&Model::deleteGroup, itemId(id));
}

QVariant CScriptService::getGroupProperty(const QString& name, const QString& id) const
{
    return property(&Model::getGroupProperty, name, id);
}

QVariant CScriptService::setGroupProperty(const QString& name, const QVariant& value, const QString& id)
{
    return call(&Model::setGroupProperty, name, value, itemId(id));
}

QVariant CScriptService::deleteGroupProperty(const QString& name)
{
    return call(&Model::deleteGroupProperty, name);
}

QVariant CScriptService::addUsersToGroup(const QStringList& users, const QString& group)
{
    return call(&Model::addUsersToGroup, itemIds(users), itemId(group));
}

QVariant CScriptService::removeUsersFromGroup(const QStringList& users, const QString& group)
{
    return call(&Model::removeUsersFromGroup, itemIds(users), itemId(group));
}

QVariantList CScriptService::getUsersOfGroup(const QString& group) const
{
    return call(&Model::getUsersOfGroup, itemId(group));
}

QVariantList CScriptService::getGroupsOfUser(const QString& user) const
{
    return call(&Model::getGroupsOfUser, itemId(user));
}

QVariant CScriptService::deleteUsersAndGroups(const QStringList& ids)
{
    return call(&Model::deleteUsersAndGroups, itemIds(ids));
}

// --- RFID media

QVariantMap CScriptService::getRfidMedium(const QVariantMap& filter) const
{
    return call(&Model::getRfidMedium, filter);
}

QVariant CScriptService::createRfidMedium(const QVariantMap& properties)
{
    return call(&Model::createRfidMedium, properties);
}

QVariant CScriptService::deleteRfidMedium(const QString& id)
{
    return call(&Model::deleteRfidMedium, itemId(id));
}

QVariant CScriptService::getRfidMediumProperty(const QString& name, const QString& id) const
{
    return property(&Model::getRfidMediumProperty, name, id);
}

QVariant CScriptService::setRfidMediumProperty(const QString& name, const QVariant& value, const QString& id)
{
    return call(&Model::setRfidMediumProperty, name, value, itemId(id));
}

QVariant CScriptService::addRfidMediaToUser(const QStringList& media, const QString& user)
{
    return call(&Model::addRfidMediaToUser, itemIds(media), itemId(user));
}

QVariantList CScriptService::getRfidMediaOfUser(const QString& user) const
{
    return call(&Model::getRfidMediaOfUser, itemId(user));
}

QVariant CScriptService::getUserOfRfidMedium(const QString& medium) const
{
    return call(&Model::getUserOfRfidMedium, itemId(medium));
}

QVariant CScriptService::simulateRfidMedium(const QString& device, unsigned int a, unsigned int b, int c, int d)
{
    return call(&Model::simulateRfidMedium, device, a, b, c, d);
}

// --- Access rights

QVariant CScriptService::addAccessPointsToUser(const QStringList& accessPoints, const QString& user)
{
    return call(&Model::addAccessPointsToUser, itemIds(accessPoints), itemId(user));
}

QVariant CScriptService::deleteAccessPointsOfUser(const QStringList& accessPoints, const QString& user)
{
    return call(&Model::deleteAccessPointsOfUser, itemIds(accessPoints), itemId(user));
}

QVariantList CScriptService::getAccessPointsOfUser(const QString& user) const
{
    return call(&Model::getAccessPointsOfUser, itemId(user));
}

QVariantList CScriptService::getUsersOfAccessPoint(const QString& accessPoint) const
{
    return call(&Model::getUsersOfAccessPoint, itemId(accessPoint));
}

QVariantList CScriptService::getAccessRightProperties(const QString& first, const QString& second) const
{
    return call(&Model::getAccessRightProperties, itemId(first), itemId(second));
}

QVariant CScriptService::setAccessRightProperties(const QStringList& accessPoints, const QString& user,
                                                  const QVariantMap& properties)
{
    return call(&Model::setAccessRightProperties, itemIds(accessPoints), itemId(user), properties);
}

// --- The system

QVariant CScriptService::getSystemProperty(const QString& name, const QString& id) const
{
    return property(&Model::getSystemProperty, name, id);
}

QVariant CScriptService::setSystemProperty(const QString& name, const QVariant& value, const QString& id)
{
    return call(&Model::setSystemProperty, name, value, itemId(id));
}

QVariant CScriptService::deleteSystemProperty(const QString& name)
{
    return call(&Model::deleteSystemProperty, name);
}

QVariantMap CScriptService::getSystemInfo()
{
    return call(&Model::getSystemInfo);
}

QVariantMap CScriptService::getSystemInfoOfLoggedInUser()
{
    return call(&Model::getSystemInfoOfLoggedInUser);
}

QVariant CScriptService::setSystemName(const QString& name)
{
    return call(&Model::setSystemName, name);
}

QVariant CScriptService::deleteDevice(const QString& device)
{
    return call(&Model::deleteDevice, device);
}

QVariant CScriptService::getLoggedInId() const
{
    return call(&Model::getLoggedInId);
}

QVariantList CScriptService::getUserReportTemplateNames()
{
    return call(&Model::getUserReportTemplateNames);
}

QVariant CScriptService::setNotifications(const QStringList& names)
{
    return call(&Model::setNotifications, names);
}

QVariantList CScriptService::translate(const QStringList& texts, const QString& context, const QString& language)
{
    return call(&Model::translate, texts, context, language);
}

void CScriptService::quit(const QString&)
{
    if (m_accessControl)
        m_accessControl->quit();
}

// --- The model as a whole

QVariantList CScriptService::getModel(const QString& name, const QVariantMap& filter, const QStringList& fields) const
{
    return call(&Model::getModel, name, filter, fields);
}

QVariant CScriptService::setModel(const QString& name, const QVariantMap& data)
{
    return call(&Model::setModel, name, data);
}

// --- Openers

QVariantList CScriptService::getUserRelatedOpenerActions(const QVariantMap& filter, bool flag)
{
    return call(&Model::getUserRelatedOpenerActions, filter, flag);
}

QVariant CScriptService::executeOpenerAuthorizationPoints(const QVariantList& list)
{
    return call(&Model::executeOpenerAuthorizationPoints, list);
}

QVariant CScriptService::logEvent(const QString& text, const QString& source, int level, int eventClass,
                                  const QString& id, int flags, bool option)
{
    return call(&Model::logEvent, text, source, level, eventClass, itemId(id), flags, option);
}

// --- Operations that answer later

void CScriptService::addSmartAccessLoginToUser(const QString& id, const QVariantMap& parameters,
                                               const Callback& callback)
{
    const Callback answer = guarded(callback, "addSmartAccessLoginToUser");
    m_accessControl ? m_accessControl->addSmartAccessLoginToUser(itemId(id), parameters, answer) : answer({});
}

void CScriptService::sendTemplateEmail(int templateId, const QStringList& recipients, const QVariantMap& parameters,
                                       const Callback& callback)
{
    const Callback answer = guarded(callback, "sendTemplateEmail");
    m_accessControl ? m_accessControl->sendTemplateEmail(templateId, recipients, parameters, answer) : answer({});
}

void CScriptService::sendCustomNotification(const QString& name, const QString& id, const QVariantMap& parameters,
                                            const Callback& callback)
{
    const Callback answer = guarded(callback, "sendCustomNotification");
    m_accessControl ? m_accessControl->sendCustomNotification(name, id, parameters, answer) : answer({});
}

void CScriptService::startWaitingForRfidMedium(const QString& deviceLabel, const Callback& callback)
{
    PendingAnswer* pending = newPendingAnswer(callback, "startWaitingForRfidMedium");
    if (!m_accessControl || !m_accessControl->startWaitingForRfidMedium(CDeviceId::fromLabel(deviceLabel)))
        return pending->answer({});
    connect(m_accessControl, &Model::rfidMediumDetected, pending,
            [pending](const QVariantMap& properties) { pending->answer(fromModel(properties)); });
    connect(m_accessControl, &QObject::destroyed, pending, [pending] { pending->answer({}); });
}

void CScriptService::deviceOperation(const QString& name, const QVariantMap& parameters, const Callback& callback)
{
    const QPointer<PendingAnswer> pending = newPendingAnswer(callback, "deviceOperation");
    const QPointer<IDeviceService> deviceService = m_deviceService;
    QVariantMap copy = parameters;
    IDeviceOperation* operation = deviceService ? deviceService->createDeviceOperation(name, copy) : nullptr;
    if (operation == nullptr) {
        const QString errorKey = QStringLiteral("errorString");
        const QString error = copy.value(errorKey).toString();
        return pending->answer(error.isEmpty() ? QVariantMap() : QVariantMap{{errorKey, error}});
    }
    // Ending the operation is this side's duty, also when nobody waits for the answer any more.
    auto* end = new QObject(operation);
    connect(operation, &IDeviceOperation::finished, end, [pending, deviceService, operation, end] {
        operation->disconnect(end);
        QVariantMap result = operation->storedPropertiesMap();
        operation->complete();
        if (deviceService)
            deviceService->releaseDeviceOperation(operation);
        if (pending)
            operation->disconnect(pending);
        operation->dispose();
        addOperationEntries(&result);
        if (pending)
            pending->answer(result);
    });
    connect(operation, &QObject::destroyed, pending, [pending] { pending->answer({}); });
    deviceService->startDeviceOperation(operation);
}

void CScriptService::deviceAction(const QString& name, const QVariantMap& parameters, const Callback& callback)
{
    const QPointer<PendingAnswer> pending = newPendingAnswer(callback, "deviceAction");
    QVariantMap copy = parameters;
    const QPointer<IDeviceAction> action = m_deviceService ? m_deviceService->createDeviceAction(name, copy) : nullptr;
    if (!action)
        return pending->answer({});
    auto* end = new QObject(action);
    const auto finish = [pending, action, end] {
        action->disconnect(end);
        if (pending) {
            action->disconnect(pending);
            pending->answer(action->result());
        }
        if (action)
            action->dispose();
    };
    if (action->isFinished())
        return finish();
    connect(action, &IDeviceAction::finished, end, finish);
    connect(action, &QObject::destroyed, pending, [pending] { pending->answer({}); });
}

// --- Notifications and enumerations

void CScriptService::setNotificationHandler(const NotificationHandler& handler)
{
    if (!handler) {
        qWarning("CScriptService: setNotificationHandler without a handler");
        return;
    }
    delete m_notificationAdapter;
    m_notificationAdapter = new QObject(this);
    if (!m_accessControl)
        return;
    connect(m_accessControl, &Model::notify, m_notificationAdapter,
            [handler](const QString& name, const QVariantMap& parameters, const QString& extension) {
                QVariantMap converted = parameters;
                if (parameters.value(QStringLiteral("event")).toString() == QLatin1String("changed")) {
                    QVariantMap data = parameters.value(QStringLiteral("data")).toMap();
                    for (QVariant& value : data) {
                        const auto list = value.value<QVariantList>();
                        if (!list.isEmpty())
                            value = fromModel(list);
                    }
                    converted.insert(QStringLiteral("data"), data);
                }
                handler(name, converted, extension);
            });
}

QVariantMap CScriptService::getMapping(const QString& name) const
{
    return mapping(name);
}

QStringList CScriptService::mappingNames()
{
    return ScriptValues::mappingNames();
}
