#pragma once

#include <foundation/core/export.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QStringList>

/// Options that come from the environment or from the command line; the environment wins.
///
///     const QString port = CEnvironmentVariable::argValue(QCoreApplication::arguments(), "--port", "MY_PORT");
///
/// Names are UTF-8; where both names are asked for, an empty or null one stands for "none".
class KYR_FOUNDATION_EXPORT CEnvironmentVariable
{
public:
    CEnvironmentVariable() = delete;

    static bool isSet(const char* name);
    static QString value(const char* name);
    /// Without the white space and the quotes around it.
    static QString valueTrimmed(const char* name);
    static QByteArray valueBytes(const char* name);

    /// A switch. A variable that is set counts as on, also when it is empty, unless its value is "0" or "false" in any
    /// case; without it, the switch is on when the argument is there.
    static bool hasArg(const QStringList& arguments, const char* argumentName, const char* variableName);

    /// An option with a value: "--port 4000" or "--port=4000", the first one counts. White space and quotes around the
    /// value are removed; empty when there is none.
    static QString argValue(const QStringList& arguments, const char* argumentName, const char* variableName);
};
