#include <foundation/core/environment_variable.h>

#include <foundation/core/string_utils.h>

#include <QtCore/QtGlobal>

namespace {

bool isNamed(const char* name)
{
    return name && *name;
}

} // namespace

bool CEnvironmentVariable::isSet(const char* name)
{
    return qEnvironmentVariableIsSet(name);
}

QString CEnvironmentVariable::value(const char* name)
{
    return qEnvironmentVariable(name);
}

QString CEnvironmentVariable::valueTrimmed(const char* name)
{
    return CStringUtils::trimQuotes(value(name));
}

QByteArray CEnvironmentVariable::valueBytes(const char* name)
{
    return qgetenv(name);
}

bool CEnvironmentVariable::hasArg(const QStringList& arguments, const char* argumentName, const char* variableName)
{
    if (isNamed(variableName) && isSet(variableName)) {
        const QString setting = value(variableName);
        return setting != QLatin1String("0") && setting.toLower() != QLatin1String("false");
    }
    return isNamed(argumentName) && arguments.contains(QString::fromUtf8(argumentName));
}

QString CEnvironmentVariable::argValue(const QStringList& arguments, const char* argumentName, const char* variableName)
{
    if (isNamed(variableName) && isSet(variableName))
        return valueTrimmed(variableName);
    if (!isNamed(argumentName))
        return QString();

    const QString name = QString::fromUtf8(argumentName);
    for (int i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        if (argument == name)
            return CStringUtils::trimQuotes(arguments.value(i + 1));
        if (argument.size() > name.size() && argument.at(name.size()) == QLatin1Char('=') && argument.startsWith(name))
            return CStringUtils::trimQuotes(argument.mid(name.size() + 1));
    }
    return QString();
}
