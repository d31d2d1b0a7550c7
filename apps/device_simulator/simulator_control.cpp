#include "simulator_control.h"

#include "simulator.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDateTime>
#include <QtCore/QJsonDocument>
#include <QtCore/QPointer>

namespace {

constexpr int stormSeconds = 5;
constexpr int longestStormSeconds = 3600;

QString help()
{
    return QStringLiteral(
        "faults on|off; faults latency MS; faults split|drop|half-open|corrupt|handshake PERCENT; "
        "drop LABEL|all; halt LABEL|all; storm [SECONDS]; status; quit; shutdown; present LABEL UID; "
        "enter LABEL CODE; button LABEL; force LABEL; hold LABEL; clock LABEL TIME|now; journal LABEL");
}

const QStringList doorCommands{QStringLiteral("present"), QStringLiteral("enter"), QStringLiteral("button"),
                               QStringLiteral("force"),   QStringLiteral("hold"),  QStringLiteral("clock"),
                               QStringLiteral("journal")};
const QStringList furtherWord{QStringLiteral("present"), QStringLiteral("enter"), QStringLiteral("clock")};

QString toLine(const QJsonObject& object)
{
    return QString::fromUtf8(QJsonDocument(object).toJson(QJsonDocument::Compact));
}

QString toLine(const CLockOutcome& outcome)
{
    QJsonValue user = QJsonValue::Null;
    if (outcome.user != CItemId())
        user = QString::number(outcome.user.value());
    QJsonValue event = QJsonValue::Null;
    if (outcome.event != 0)
        event = outcome.event;
    return toLine(QJsonObject{
        {QStringLiteral("allowed"), outcome.isAllowed},
        {QStringLiteral("reason"), QLatin1String(accessReasonToString(outcome.reason))},
        {QStringLiteral("user"), user},
        {QStringLiteral("way"), outcome.way == CLockWay::Online ? QStringLiteral("online") : QStringLiteral("offline")},
        {QStringLiteral("event"), event}});
}

} // namespace

SimulatorControl::SimulatorControl(Simulator& simulator)
    : m_simulator(simulator)
{
    connect(&m_server, &CommandServer::clientCame, this, [this](CommandClient* client) {
        connect(client, &CommandClient::commandReceived, this,
                [this, client](const QStringList& words) { take(*client, words); });
        connect(client, &CommandClient::lineReceived, this, [this, client](const QString& line) {
            take(*client, line.simplified().split(QLatin1Char(' '), Qt::SkipEmptyParts));
        });
        connect(client, &CommandClient::gone, this, [this, client] { m_replies.remove(client); });
    });
}

void SimulatorControl::Reply::set(const QString& answer)
{
    text = answer;
    code = answer.startsWith(QLatin1Char('{')) ? 0 : 1;
}

void SimulatorControl::take(CommandClient& client, const QStringList& words)
{
    const auto reply = std::make_shared<Reply>();
    m_replies[&client].append(reply);
    const QString command = words.value(0);
    if (words.isEmpty()
        || (words.size() == 1 && (command == QLatin1String("quit") || command == QLatin1String("exit")))) {
        reply->code = 0;
        reply->leaves = !words.isEmpty();
    } else if (doorCommands.contains(command)) {
        const auto later = [this, reply, guard = QPointer<CommandClient>(&client)](const QString& line) {
            reply->set(line);
            if (guard)
                answer(*guard);
        };
        const QString error = runAtDoor(words, later);
        if (!error.isEmpty())
            reply->set(error);
    } else {
        reply->set(run(words));
    }
    answer(client);
}

void SimulatorControl::answer(CommandClient& client)
{
    const auto replies = m_replies.find(&client);
    while (replies != m_replies.end() && !replies->isEmpty() && replies->constFirst()->isKnown()) {
        const Sent reply = replies->takeFirst();
        if (reply->leaves) {
            m_replies.erase(replies);
            return client.leave(reply->code);
        }
        if (reply->code != 0)
            client.sendError(reply->text);
        else if (!reply->text.isEmpty())
            client.sendLine(reply->text);
        client.sendCode(reply->code);
    }
}

SimulatedDevice* SimulatorControl::deviceByLabel(const QString& label) const
{
    for (SimulatedDevice* device : m_simulator.devices()) {
        if (device->settings().id.toLabel() == label)
            return device;
    }
    return nullptr;
}

QString SimulatorControl::runAtDoor(const QStringList& words, const Answer& answer)
{
    const QString& command = words.constFirst();
    const bool hasMore = furtherWord.contains(command);
    if (words.size() != (hasMore ? 3 : 2))
        return help();
    SimulatedDevice* device = deviceByLabel(words.at(1));
    if (!device)
        return QStringLiteral("there is no device \"%1\"").arg(words.at(1));
    const CLock* lock = device->lock();
    if (!lock)
        return QStringLiteral("the devices are not locks: start the simulator with --state");
    const auto report = [answer](const CLockOutcome& outcome) { answer(toLine(outcome)); };
    const QString what = words.value(2);
    if (command == QLatin1String("present") || command == QLatin1String("enter")) {
        const bool isCode = command == QLatin1String("enter");
        const auto credential = isCode ? CLockCredential::fromCode(what) : CLockCredential::fromUidLabel(what);
        if (credential.isNone())
            return isCode ? QStringLiteral("a code has 1 to 12 digits")
                          : QStringLiteral("\"%1\" is not a UID of 4, 7 or 8 bytes").arg(what);
        device->present(credential, report);
    } else if (command == QLatin1String("button")) {
        device->pressButton(report);
    } else if (command == QLatin1String("force")) {
        device->forceDoor(report);
    } else if (command == QLatin1String("hold")) {
        device->holdDoor(report);
    } else if (command == QLatin1String("clock")) {
        const CAccessTimeZone zone(lock->memory().zone);
        std::optional<qint64> utc = zone.instantFromText(what, CAccessTimeZone::DayEdge::Begin);
        if (what != QLatin1String("now") && !utc)
            return QStringLiteral("\"%1\" is not a time").arg(what);
        device->setClock(utc ? *utc * 1000 : QDateTime::currentMSecsSinceEpoch());
        answer(toLine(QJsonObject{{QStringLiteral("clock"), zone.isoText(lock->clock(device->now()) / 1000)}}));
    } else {
        const CLockJournal& journal = lock->memory().journal;
        answer(toLine(QJsonObject{{QStringLiteral("first"), journal.first()},
                                  {QStringLiteral("next"), journal.next()},
                                  {QStringLiteral("acknowledged"), journal.acknowledged()},
                                  {QStringLiteral("lost"), journal.lost()}}));
    }
    return QString();
}

QString SimulatorControl::run(const QStringList& words)
{
    const QString command = words.constFirst();
    const QString what = words.value(1);
    if (command == QLatin1String("faults") && words.size() <= 3)
        return setFaults(words);
    if ((command == QLatin1String("drop") || command == QLatin1String("halt")) && words.size() == 2) {
        bool found = false;
        for (SimulatedDevice* device : m_simulator.devices()) {
            if (what != QLatin1String("all") && what != device->settings().id.toLabel())
                continue;
            found = true;
            if (command == QLatin1String("drop"))
                device->drop();
            else
                device->halt();
        }
        return found ? status() : QStringLiteral("there is no device \"%1\"").arg(what);
    }
    if (command == QLatin1String("storm") && words.size() <= 2) {
        bool ok = true;
        const int seconds = what.isEmpty() ? stormSeconds : what.toInt(&ok);
        if (!ok || seconds < 1 || seconds > longestStormSeconds)
            return QStringLiteral("\"%1\" is not a number of seconds from 1 to %2").arg(what).arg(longestStormSeconds);
        for (SimulatedDevice* device : m_simulator.devices())
            device->storm(seconds * 1000);
        return status();
    }
    if (command == QLatin1String("status") && words.size() == 1)
        return status();
    if (command == QLatin1String("shutdown") && words.size() == 1) {
        QMetaObject::invokeMethod(qApp, &QCoreApplication::quit, Qt::QueuedConnection);
        return status();
    }
    return help();
}

QString SimulatorControl::setFaults(const QStringList& words)
{
    FaultRates& rates = m_simulator.faults().rates;
    const QString what = words.value(1);
    bool ok = false;
    if (words.size() == 2 && (what == QLatin1String("on") || what == QLatin1String("off"))) {
        rates.on = what == QLatin1String("on");
        return status();
    }
    const int value = words.value(2).toInt(&ok);
    if (!ok || !rates.set(what, value))
        return help();
    return status();
}

QString SimulatorControl::status() const
{
    int linked = 0;
    for (const SimulatedDevice* device : m_simulator.devices())
        linked += device->isLinked() ? 1 : 0;
    const SimulatedDevice::Faults& faults = m_simulator.faults();
    const QJsonObject status{{QStringLiteral("devices"), m_simulator.devices().size()},
                             {QStringLiteral("linked"), linked},
                             {QStringLiteral("seed"), qint64(faults.seed)},
                             {QStringLiteral("faults"), faults.rates.toJson()},
                             {QStringLiteral("connections"), faults.connections.connections},
                             {QStringLiteral("dropped"), faults.connections.dropped},
                             {QStringLiteral("halfOpen"), faults.connections.halfOpen},
                             {QStringLiteral("corrupted"), faults.connections.corrupted},
                             {QStringLiteral("falseAnswers"), faults.falseAnswers}};
    return QString::fromUtf8(QJsonDocument(status).toJson(QJsonDocument::Compact));
}
