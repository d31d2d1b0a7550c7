#include "shell/command.h"

namespace {

QByteArray variablePrefix(const QString& name)
{
    return "KYR_CONSOLE_" + name.toUpper().toLatin1();
}

void addCommonOptions(AppOptions& options)
{
    options.addSwitch(QStringLiteral("json"), QStringLiteral("tables as JSON"));
}

} // namespace

void Command::run(const QString& name, const QString& summary, const QStringList& arguments)
{
    m_name = name;
    AppOptions options(summary, variablePrefix(name));
    addOptions(options);
    addCommonOptions(options);
    const bool parsed = options.parse(arguments);
    if (parsed && options.isSet(QStringLiteral("help"))) {
        m_session.lines(options.help(name).split(QLatin1Char('\n')));
        done();
        return;
    }
    m_json = options.isSet(QStringLiteral("json"));
    if (parsed)
        start(options);
    if (!options.error().isEmpty())
        misuse(options.error());
}

void Command::done(int code)
{
    if (m_done)
        return;
    m_done = true;
    QMetaObject::invokeMethod(
        this, [this, code] { Q_EMIT finished(code); }, Qt::QueuedConnection);
}

void Command::fail(const QString& reason)
{
    if (!m_done)
        m_session.error(m_name + QLatin1String(": ") + reason);
    done(1);
}

void Command::misuse(const QString& reason)
{
    if (!m_done)
        m_session.error(m_name + QLatin1String(": ") + reason + QLatin1String(" (see: help ") + m_name
                        + QLatin1Char(')'));
    done(2);
}

void Command::print(const Table& table)
{
    if (m_json)
        m_session.line(table.toJson());
    else
        m_session.lines(table.toText(m_session.colour()));
}

const CommandEntry* findCommand(const QString& name)
{
    for (const CommandEntry& entry : commandTable()) {
        if (name == QLatin1String(entry.name))
            return &entry;
    }
    return nullptr;
}

QString commandHelp(const CommandEntry& entry, Session& session)
{
    const QString name = QLatin1String(entry.name);
    AppOptions options(QString::fromUtf8(entry.summary), variablePrefix(name));
    const std::unique_ptr<Command> command(entry.create(session));
    command->addOptions(options);
    addCommonOptions(options);
    return options.help(name);
}
