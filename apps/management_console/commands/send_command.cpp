#include "server/device_server.h"
#include "shell/command.h"

#include <foundation/core/json_text.h>
#include <server/devices/remote_devices.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QPointer>
#include <QtCore/QTimer>

#include <algorithm>

namespace {

// Asks one device or all, and waits for the answers. With --count each device is asked again as soon as it has
// answered.
class SendCommand : public Command
{
public:
    using Command::Command;

    void addOptions(AppOptions& options) override
    {
        options.addPositional(QStringLiteral("LABEL|all MESSAGE"),
                              QStringLiteral("MESSAGE is a command such as status, or a JSON object such as "
                                             "'{\"command\":\"echo\",\"data\":\"x\"}'"));
        options.addValue(QStringLiteral("count"), QStringLiteral("N"),
                         QStringLiteral("send the message N times and show how long the answers took"),
                         QStringLiteral("1"));
        options.addValue(QStringLiteral("wait"), QStringLiteral("MS"), QStringLiteral("how long to wait for answers"),
                         QStringLiteral("5000"));
        TableOptions::add(options);
    }

    void start(AppOptions& options) override
    {
        m_count = options.number(QStringLiteral("count"), 1, 10000000);
        const int waitMs = options.number(QStringLiteral("wait"), 1, 3600000);
        const QStringList words = options.positional();
        if (!readMessage(words.at(1)))
            options.setError(QStringLiteral("\"%1\" is neither a command nor a JSON object").arg(words.at(1)));
        if (!options.error().isEmpty())
            return;

        const DeviceServer* server = session().server();
        const bool isForAll = words.at(0) == QLatin1String("all");
        QList<DeviceLink*> links;
        if (server && isForAll)
            links = server->links();
        else if (DeviceLink* link = server ? server->link(CDeviceId::fromLabel(words.at(0))) : nullptr)
            links.append(link);
        QList<CDeviceId> elsewhere;
        if (isForAll || links.isEmpty()) {
            QString error;
            m_remote = session().remote(error);
            if (!m_remote)
                return fail(error);
            const QList<CRemoteDevices::Link> all = m_remote->links();
            for (const CRemoteDevices::Link& link : all) {
                if (!link.isOwn && (isForAll || link.device.toLabel() == words.at(0)))
                    elsewhere.append(link.device);
            }
        }
        // Of a device that has moved the newest link counts.
        links.erase(std::remove_if(links.begin(), links.end(),
                                   [&](const DeviceLink* link) { return elsewhere.contains(link->identity().id); }),
                    links.end());
        if (links.isEmpty() && elsewhere.isEmpty())
            return fail(!server    ? QStringLiteral("not serving (see: help serve)")
                        : isForAll ? QStringLiteral("no device is linked")
                                   : QStringLiteral("no device \"%1\" is linked").arg(words.at(0)));

        QTimer::singleShot(waitMs, this, [this] { conclude(); });
        m_clock.start();
        for (DeviceLink* link : qAsConst(links)) {
            m_asked.append({link->identity().id, link, 0, 0, 0, {}});
            const int index = m_asked.size() - 1;
            connect(link, &DeviceLink::answered, this,
                    [this, index](int number, const QJsonObject& answer) { onAnswer(index, number, answer); });
            connect(
                link, &DeviceLink::ended, this, [this] { concludeIfDone(); }, Qt::QueuedConnection);
            m_asked[index].number = link->ask(m_message);
        }
        for (const CDeviceId device : qAsConst(elsewhere)) {
            m_asked.append({device, nullptr, 0, 0, 0, {}});
            m_asked.last().isRemote = true;
            askRemote(m_asked.size() - 1);
        }
    }

private:
    struct Asked
    {
        CDeviceId device;
        QPointer<DeviceLink> link;
        int number;
        int answers;
        double milliseconds;
        QJsonObject answer;
        bool isRemote = false;
    };

    bool readMessage(const QString& text)
    {
        if (text.startsWith(QLatin1Char('{')))
            m_message = CJsonText::read(text.toUtf8()).object();
        else if (!text.contains(QLatin1Char('"')))
            m_message.insert(QStringLiteral("command"), text);
        return !m_message.isEmpty();
    }

    // By the server that has the link.
    void askRemote(int index)
    {
        const QPointer<SendCommand> guard(this);
        m_remote->ask(m_asked.at(index).device, QStringLiteral("send"), m_message, session().operatorName(),
                      [guard, index](const QString& error, const QJsonObject& answer) {
                          if (!guard)
                              return;
                          if (error.isEmpty())
                              return guard->onAnswer(index, guard->m_asked.at(index).number, answer);
                          guard->m_asked[index].isRemote = false;
                          guard->concludeIfDone();
                      });
    }

    void onAnswer(int index, int number, const QJsonObject& answer)
    {
        Asked& asked = m_asked[index];
        if (number != asked.number)
            return;
        asked.answer = answer;
        const qint64 microseconds = m_clock.nsecsElapsed() / 1000;
        asked.milliseconds = double(microseconds) / 1000;
        if (++asked.answers < m_count && asked.isRemote)
            askRemote(index);
        else if (asked.answers < m_count)
            asked.number = asked.link->ask(m_message);
        else
            concludeIfDone();
    }

    void concludeIfDone()
    {
        for (const Asked& asked : qAsConst(m_asked)) {
            if ((asked.link || asked.isRemote) && asked.answers < m_count)
                return;
        }
        conclude();
    }

    void conclude()
    {
        if (m_concluded)
            return;
        m_concluded = true;
        const auto ifSeveral = [this](const char* title) {
            return m_count > 1 ? QString::fromLatin1(title) : QString();
        };
        Table table(
            {{QStringLiteral("label"), QStringLiteral("Label")},
             {QStringLiteral("answers"), ifSeveral("Answers")},
             {QStringLiteral("milliseconds"), QStringLiteral("ms")},
             {QStringLiteral("perSecond"), ifSeveral("Messages/s")},
             {QStringLiteral("answer"), m_count > 1 ? QStringLiteral("Last answer") : QStringLiteral("Answer")}});
        QStringList silent;
        QStringList refused;
        for (const Asked& asked : qAsConst(m_asked)) {
            const double perSecond = asked.milliseconds > 0 ? asked.answers * 1000.0 / asked.milliseconds : 0.0;
            QJsonObject answer = asked.answer;
            answer.remove(QStringLiteral("id"));
            table.addRow({asked.device.toLabel(), asked.answers, asked.milliseconds, qRound(perSecond),
                          QString::fromUtf8(QJsonDocument(answer).toJson(QJsonDocument::Compact))});
            if (asked.answers < m_count)
                silent.append(asked.device.toLabel());
            else if (answer.value(QLatin1String("status")).toString() == QLatin1String("error"))
                refused.append(QStringLiteral("%1 (%2)").arg(asked.device.toLabel(),
                                                             answer.value(QLatin1String("error")).toString()));
        }
        if (silent.size() < m_asked.size() || isJson())
            print(table);
        QStringList faults;
        if (!silent.isEmpty())
            faults.append(QStringLiteral("%1 of %2 answered, no answer in time from %3")
                              .arg(m_asked.size() - silent.size())
                              .arg(m_asked.size())
                              .arg(silent.join(QLatin1String(", "))));
        if (!refused.isEmpty())
            faults.append(QStringLiteral("refused by %1").arg(refused.join(QLatin1String(", "))));
        if (faults.isEmpty())
            return done();
        fail(faults.join(QLatin1String("; ")));
    }

    QJsonObject m_message;
    QPointer<CRemoteDevices> m_remote;
    QVector<Asked> m_asked;
    QElapsedTimer m_clock;
    int m_count = 1;
    bool m_concluded = false;
};

} // namespace

extern const CommandEntry sendCommand = {"send", "Sends a message to a device and shows its answer.",
                                         &makeCommand<SendCommand>};
