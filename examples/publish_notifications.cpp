#include <foundation/services/notification_filter.h>
#include <foundation/services/notification_service.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QTextStream>
#include <QtCore/QVariantMap>

// Guests are not told who opened a door.
class GuestFilter : public INotificationFilter
{
public:
    bool filterNotification(const QString&, const QString&, const QString&, qint64 authId, QVariantMap* params) override
    {
        if (authId == 0)
            params->remove(QStringLiteral("user"));
        return false; // withheld from nobody
    }
};

// Two subscribers watch doors; a real host sends each message over the subscriber's connection instead of printing it.
int main(int argc, char* argv[])
{
    const QCoreApplication app(argc, argv);
    QTextStream out(stdout);
    GuestFilter filter;
    CNotificationService service(nullptr);
    service.installNotificationFilter(&filter);
    QObject::connect(&service, &CNotificationService::messageTransmissionRequested, &service,
                     [&](const QString& address, const QString& method, const QVariantList& params) {
                         const QVariantMap values = params.value(1).toMap();
                         out << address << " <- " << method << " " << params.value(0).toString();
                         for (auto value = values.cbegin(); value != values.cend(); ++value)
                             out << "  " << value.key() << ": " << value.value().toString();
                         out << '\n';
                     });

    // What a subscriber sends: {"method": "registerObserver", "params": [["AccessPoints"]]}
    const QVariantList doors{QStringList{QStringLiteral("AccessPoints")}};
    service.receiveMessage(QStringLiteral("guard"), QStringLiteral("registerObserver"), doors, 7);
    service.receiveMessage(QStringLiteral("guest"), QStringLiteral("registerObserver"), doors, 0);

    service.notifyObservers(QStringLiteral("AccessPoints"), {{QStringLiteral("event"), QStringLiteral("opened")},
                                                             {QStringLiteral("door"), QStringLiteral("Main Entrance")},
                                                             {QStringLiteral("user"), QStringLiteral("Ann")}});
    service.disconnectSubscriber(QStringLiteral("guest"));
    service.sendAboutToQuitObservers();
    return 0;
}
