#include <foundation/formats/string_template.h>

#include <QtCore/QDateTime>

namespace {

bool isNameCharacter(QChar character)
{
    const ushort code = character.unicode();
    return (code >= 'a' && code <= 'z') || (code >= 'A' && code <= 'Z') || (code >= '0' && code <= '9') || code == '_';
}

} // namespace

CStringTemplate::CStringTemplate(const QString& templateText)
    : m_template(templateText)
{
}

CStringTemplate::~CStringTemplate() = default;

QString CStringTemplate::substitute(const QVariantMap& values)
{
    m_values = values;
    const QString text = m_template; // stays, whatever an overridden function does
    const QChar* const data = text.constData();
    QString result;
    result.reserve(text.size() + text.size() / 2);
    QString key;
    key.reserve(32); // one buffer for all keys
    qsizetype done = 0;
    for (;;) {
        const qsizetype dollar = text.indexOf(QLatin1Char('$'), done);
        if (dollar < 0 || dollar + 1 == text.size())
            break;
        qsizetype begin = dollar + 1;
        qsizetype end = begin;
        if (data[begin] == QLatin1Char('{')) {
            ++begin;
            end = text.indexOf(QLatin1Char('}'), begin + 1); // a key has one character at least, even if it is a brace
            if (end < 0)
                break;
        } else {
            while (end < text.size() && isNameCharacter(data[end]))
                ++end;
        }
        result.append(data + done, dollar - done);
        key.resize(0);
        key.append(data + begin, end - begin);
        if (key == QLatin1String("$")) {
            result.append(key);
        } else {
            const QString value = substituteKey(key);
            result.append(value.isNull() ? handleUnknownKey(key) : value);
        }
        done = end;
    }
    return result.append(data + done, text.size() - done);
}

QString CStringTemplate::substituteKey(const QString& key) const
{
    const auto value = m_values.constFind(key);
    if (value == m_values.cend())
        return QString();
    if (value->userType() == QMetaType::QDateTime)
        return value->toDateTime().toString(Qt::ISODate);
    return value->toString();
}

QString CStringTemplate::handleUnknownKey(const QString& key) const
{
    return QLatin1String("${") + key + QLatin1Char('}');
}
