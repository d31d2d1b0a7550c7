#pragma once

#include <QtCore/QCommandLineParser>
#include <QtCore/QStringList>
#include <QtCore/QVector>

/// The options of a tool or of one of its commands. Each may be given as an argument ("--udp-port 4000",
/// "--udp-port=4000") or by an environment variable ("KYR_SIMULATOR_UDP_PORT=4000"), which takes precedence.
/// Of a switch, a variable that is set and empty says nothing, and "0" and "false" switch it off; of an option with a
/// value it says the empty value. "--help" and "--version" are for people who type them: no variable stands for these.
///
/// Mistakes are collected: after the values were read, error() is the first of them, one line for the user.
class AppOptions
{
public:
    /// `variablePrefix` is what the names of the environment variables begin with, such as "KYR_SIMULATOR".
    AppOptions(const QString& description, const QByteArray& variablePrefix);

    void addSwitch(const QString& name, const QString& description);
    void addValue(const QString& name, const QString& valueName, const QString& description,
                  const QString& defaultValue = {});
    /// The arguments that are no options, as the usage line shows them, and what is to be said of them. How many there
    /// may be is read from it: "FILE" is one, "[FILE]" one or none, "LABEL [KEY=VALUE...]" one and any number more.
    void addPositional(const QString& syntax, const QString& description = {});
    /// Options end at the first positional argument; the rest is the positional ones'.
    void stopAtPositional();

    /// Reads the arguments (without the program's name); false when one of them is unknown, lacks its value or is
    /// missing.
    bool parse(const QStringList& arguments);

    bool isSet(const QString& name) const;
    QString value(const QString& name) const;
    /// Of an option that may be repeated; a variable holds them separated by commas.
    QStringList values(const QString& name) const;
    /// A number within the bounds; anything else is an error and gives `minimum`.
    int number(const QString& name, int minimum, int maximum);
    QStringList positional() const { return m_parser.positionalArguments(); }

    /// Empty without a mistake. The first one counts.
    QString error() const { return m_error; }
    void setError(const QString& text);

    /// Usage, options and what they mean, with `command` as the program's part of the usage line.
    QString help(const QString& command) const;
    /// A line for each option.
    QStringList optionHelp() const { return m_optionHelp; }

    struct Option
    {
        QString name;      ///< without the dashes
        QString valueName; ///< empty: a switch
        QString description;
    };
    /// In the order in which they were added.
    const QVector<Option>& options() const { return m_options; }
    /// The environment variables that stand for them.
    QStringList variables() const;
    /// The syntax that addPositional() was given.
    QString positionalSyntax() const { return m_usage; }

private:
    bool add(const QCommandLineOption& option);
    void checkPositional();
    QString meantOptions() const;
    QByteArray variable(const QString& name) const;
    /// Whether the option's variable decides.
    bool isInEnvironment(const QString& name) const;

    QCommandLineParser m_parser;
    QByteArray m_prefix;
    QString m_error;
    QString m_usage;
    QString m_positionalHelp;
    bool m_anyPositional = false;
    QStringList m_optionHelp;
    QVector<Option> m_options;
    QStringList m_switches;
};
