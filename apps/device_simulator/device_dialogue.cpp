#include "device_dialogue.h"

#include <foundation/core/json_text.h>

#include <QtCore/QJsonDocument>

namespace {

constexpr int openSeconds = 3;
constexpr int mostOpenSeconds = 3600;

QJsonObject errorAnswer(const QString& text)
{
    return {{QStringLiteral("status"), QStringLiteral("error")}, {QStringLiteral("error"), text}};
}

} // namespace

DeviceDialogue::DeviceDialogue()
{
    m_clock.start();
}

void DeviceDialogue::open(int seconds)
{
    m_openUntilMs = m_clock.elapsed() + qBound(1, seconds, mostOpenSeconds) * qint64(1000);
    ++m_opened;
}

QString DeviceDialogue::door() const
{
    return m_clock.elapsed() < m_openUntilMs ? QStringLiteral("open") : QStringLiteral("closed");
}

QJsonObject DeviceDialogue::run(const QJsonObject& question)
{
    const QString command = question.value(QLatin1String("command")).toString();
    QJsonObject answer{{QStringLiteral("status"), QStringLiteral("ok")}};
    if (command == QLatin1String("status")) {
        answer.insert(QStringLiteral("door"), door());
        answer.insert(QStringLiteral("opened"), m_opened);
        answer.insert(QStringLiteral("uptime"), m_clock.elapsed() / 1000);
    } else if (command == QLatin1String("open")) {
        const int seconds = question.value(QLatin1String("seconds")).toInt(openSeconds);
        open(seconds);
        answer.insert(QStringLiteral("door"), door());
        answer.insert(QStringLiteral("opened"), m_opened);
    } else if (command == QLatin1String("echo")) {
        answer.insert(QStringLiteral("data"), question.value(QLatin1String("data")));
    } else {
        return errorAnswer(QStringLiteral("unknown command \"%1\"").arg(command));
    }
    return answer;
}

QByteArray DeviceDialogue::answer(const QByteArray& message)
{
    const QJsonDocument document = CJsonText::read(message);
    QJsonObject answer =
        document.isObject() ? run(document.object()) : errorAnswer(QStringLiteral("this is not a JSON object"));
    if (document.object().contains(QLatin1String("id")))
        answer.insert(QStringLiteral("id"), document.object().value(QLatin1String("id")));
    return QJsonDocument(answer).toJson(QJsonDocument::Compact);
}
