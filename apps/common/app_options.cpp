#include "app_options.h"

#include "spelling.h"

#include <foundation/core/environment_variable.h>

AppOptions::AppOptions(const QString& description, const QByteArray& variablePrefix)
    : m_prefix(variablePrefix)
{
    m_parser.setApplicationDescription(description);
    m_parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    addSwitch(QStringLiteral("help"), QStringLiteral("show this help"));
}

void AppOptions::addSwitch(const QString& name, const QString& description)
{
    QStringList names{name};
    if (name == QLatin1String("help"))
        names.append(QStringLiteral("h"));
    if (!add(QCommandLineOption(names, description)))
        return;
    m_switches.append(name);
    m_optionHelp.append(QStringLiteral("  --%1 %2").arg(name.leftJustified(23), description));
}

// The same option once more is the same option: verbs of a command share some.
bool AppOptions::add(const QCommandLineOption& option)
{
    const QString name = option.names().constFirst();
    for (const Option& known : qAsConst(m_options)) {
        if (known.name == name)
            return false;
    }
    m_options.append({name, option.valueName(), option.description()});
    m_parser.addOption(option);
    return true;
}

void AppOptions::addValue(const QString& name, const QString& valueName, const QString& description,
                          const QString& defaultValue)
{
    if (!add(QCommandLineOption(name, description, valueName, defaultValue)))
        return;
    const QString syntax = name + QLatin1Char(' ') + valueName;
    QString text = QStringLiteral("  --%1 %2").arg(syntax.leftJustified(23), description);
    if (!defaultValue.isEmpty())
        text += QStringLiteral(" (%1)").arg(defaultValue);
    m_optionHelp.append(text);
}

void AppOptions::addPositional(const QString& syntax, const QString& description)
{
    m_usage = syntax;
    m_positionalHelp = description;
}

void AppOptions::stopAtPositional()
{
    m_anyPositional = true;
    m_parser.setOptionsAfterPositionalArgumentsMode(QCommandLineParser::ParseAsPositionalArguments);
}

bool AppOptions::parse(const QStringList& arguments)
{
    // The parser takes the program's name first.
    if (!m_parser.parse(QStringList(QString()) + arguments))
        setError(m_parser.errorText() + meantOptions());
    else if (!m_anyPositional && !m_parser.isSet(QStringLiteral("help")))
        checkPositional();
    return m_error.isEmpty();
}

// What was meant by the first one that is unknown.
QString AppOptions::meantOptions() const
{
    QStringList names;
    for (const Option& option : m_options)
        names.append(option.name);
    const QString unknown = m_parser.unknownOptionNames().value(0);
    const QString meant = unknown.isEmpty() ? QString() : meantWord(unknown, names);
    return meant.isEmpty() ? QString() : QStringLiteral(" Did you mean --%1?").arg(meant);
}

void AppOptions::checkPositional()
{
    const QStringList given = positional();
    int place = 0;
    bool optional = false;
    const QStringList words = m_usage.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    for (const QString& word : words) {
        optional = optional || word.startsWith(QLatin1Char('['));
        if (!optional && place >= given.size()) {
            QString name = word;
            return setError(QStringLiteral("%1 is missing").arg(name.remove(QLatin1String("..."))));
        }
        if (word.contains(QLatin1String("...")))
            return;
        ++place;
        optional = optional && !word.endsWith(QLatin1Char(']'));
    }
    if (given.size() > place)
        setError(QStringLiteral("unexpected argument \"%1\"").arg(given.at(place)));
}

QByteArray AppOptions::variable(const QString& name) const
{
    return m_prefix + '_' + name.toUpper().replace(QLatin1Char('-'), QLatin1Char('_')).toLatin1();
}

QStringList AppOptions::variables() const
{
    QStringList names;
    for (const Option& option : m_options)
        names.append(QString::fromLatin1(variable(option.name)));
    return names;
}

bool AppOptions::isInEnvironment(const QString& name) const
{
    const QByteArray named = variable(name);
    if (!CEnvironmentVariable::isSet(named.constData()) || name == QLatin1String("help")
        || name == QLatin1String("version"))
        return false;
    return !m_switches.contains(name) || !CEnvironmentVariable::valueTrimmed(named.constData()).isEmpty();
}

bool AppOptions::isSet(const QString& name) const
{
    if (!isInEnvironment(name))
        return m_parser.isSet(name);
    return !m_switches.contains(name) || CEnvironmentVariable::hasArg({}, "", variable(name).constData());
}

QString AppOptions::value(const QString& name) const
{
    return isInEnvironment(name) ? CEnvironmentVariable::valueTrimmed(variable(name).constData())
                                 : m_parser.value(name);
}

QStringList AppOptions::values(const QString& name) const
{
    return isInEnvironment(name) ? value(name).split(QLatin1Char(',')) : m_parser.values(name);
}

int AppOptions::number(const QString& name, int minimum, int maximum)
{
    bool ok = false;
    const QString text = value(name);
    const int number = text.toInt(&ok);
    if (ok && number >= minimum && number <= maximum)
        return number;
    setError(
        QStringLiteral("--%1 takes a number from %2 to %3, not \"%4\"").arg(name).arg(minimum).arg(maximum).arg(text));
    return minimum;
}

void AppOptions::setError(const QString& text)
{
    if (m_error.isEmpty())
        m_error = text;
}

QString AppOptions::help(const QString& command) const
{
    QString text = QStringLiteral("Usage: ") + command + QStringLiteral(" [options] ") + m_usage;
    text = text.trimmed() + QLatin1String("\n\n") + m_parser.applicationDescription() + QLatin1Char('\n');
    if (!m_positionalHelp.isEmpty())
        text += m_positionalHelp + QLatin1Char('\n');
    text += QLatin1String("\nOptions:\n") + m_optionHelp.join(QLatin1Char('\n'));
    return text
           + QStringLiteral(
                 "\n\nEach option can also be set by an environment variable, which takes precedence: %1_...")
                 .arg(QString::fromLatin1(m_prefix));
}
