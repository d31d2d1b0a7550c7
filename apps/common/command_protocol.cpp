#include "command_protocol.h"

#include <foundation/core/json_text.h>

QByteArray CommandProtocol::message(const char* kind, const QJsonArray& arguments)
{
    QJsonArray whole = arguments;
    whole.prepend(QLatin1String(kind));
    return QJsonDocument(whole).toJson(QJsonDocument::Compact) + '\n';
}

QByteArray CommandProtocol::message(const char* kind, const QString& text)
{
    return message(kind, QJsonArray{text});
}

QJsonArray CommandProtocol::parse(const QByteArray& line)
{
    return CJsonText::read(line).array();
}

QString CommandProtocol::kindOf(const QJsonArray& message)
{
    return message.at(0).toString();
}

QStringList CommandProtocol::textsOf(const QJsonArray& message, int from)
{
    QStringList texts;
    for (int i = from; i < message.size(); ++i)
        texts.append(message.at(i).toString());
    return texts;
}

bool CommandProtocol::isNamedIn(const QStringList& words, const QString& name)
{
    for (const QString& word : words) {
        const bool isOption = word.startsWith(QLatin1String("--"));
        if (word == name || (isOption && word.mid(word.indexOf(QLatin1Char('=')) + 1) == name))
            return !name.isEmpty();
    }
    for (const char* ending : {".heads", ".sig"}) {
        if (name.endsWith(QLatin1String(ending)))
            return isNamedIn(words, name.left(name.size() - int(qstrlen(ending))));
    }
    return false;
}

bool LineBuffer::take(QByteArray& line)
{
    const int end = int(m_data.indexOf('\n', m_scanned));
    if (end < 0) {
        // What was taken goes, once for all lines that came together.
        m_data.remove(0, m_begin);
        m_begin = 0;
        m_scanned = int(m_data.size());
        return false;
    }
    line = m_data.mid(m_begin, end - m_begin);
    m_begin = m_scanned = end + 1;
    return true;
}

QByteArray LineBuffer::takeRest()
{
    QByteArray rest = m_data.mid(m_begin);
    m_data.clear();
    m_begin = m_scanned = 0;
    return rest;
}
