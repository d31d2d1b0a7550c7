#include "shell/command.h"

#include "common/spelling.h"
#include "shell/help_text.h"
#include "shell/table_watch.h"
#include "shell/terminal.h"

#include <QtCore/QJsonDocument>

namespace {

QByteArray variablePrefix(const QString& name)
{
    return "KYR_CONSOLE_" + name.section(QLatin1Char(' '), 0, 0).toUpper().toLatin1();
}

QString verbName(const QString& command, const Verb& verb)
{
    return qstrlen(verb.name) == 0 ? command : QString(command + QLatin1Char(' ') + QLatin1String(verb.name));
}

} // namespace

const std::vector<Verb>& Command::verbs() const
{
    static const std::vector<Verb> none;
    return none;
}

std::unique_ptr<AppOptions> Command::makeOptions(const QString& name, const QString& summary, const Verb* verb) const
{
    auto options = std::make_unique<AppOptions>(summary, variablePrefix(name));
    if (verb) {
        options->addPositional(QLatin1String(verb->arguments));
        if (verb->addOptions)
            verb->addOptions(*options);
    } else {
        const_cast<Command*>(this)->addOptions(*options);
    }
    options->addSwitch(QStringLiteral("json"), QStringLiteral("print the result as JSON"));
    return options;
}

const Verb* Command::takeVerb(const QString& name, QStringList& arguments, QString* mistake) const
{
    // Options may stand in front of the verb, so that all have to be known to find it.
    AppOptions all(QString(), variablePrefix(name));
    for (const Verb& verb : verbs()) {
        if (verb.addOptions)
            verb.addOptions(all);
    }
    all.addSwitch(QStringLiteral("json"), QString());
    all.stopAtPositional();
    all.parse(arguments);
    const int place = arguments.size() - all.positional().size();
    QStringList names;
    for (const Verb& verb : verbs()) {
        if (place < arguments.size() && arguments.at(place) == QLatin1String(verb.name)) {
            arguments.removeAt(place);
            return &verb;
        }
        if (qstrlen(verb.name) > 0)
            names.append(QLatin1String(verb.name));
    }
    const Verb& first = verbs().front();
    const bool fits = place >= arguments.size() || qstrlen(first.arguments) > 0;
    if (qstrlen(first.name) == 0 && fits)
        return &first;
    if (mistake) {
        *mistake = QStringLiteral("takes %1").arg(names.join(QLatin1String(", ")));
        // Behind an option that is unknown the place of the verb is not known either.
        if (!all.error().isEmpty())
            *mistake = all.error();
        else if (place < arguments.size())
            *mistake +=
                QStringLiteral(", not \"%1\"%2").arg(arguments.at(place), meantText(arguments.at(place), names));
    }
    return nullptr;
}

void Command::run(const QString& name, const QString& summary, QStringList arguments)
{
    m_name = name;
    const Verb* verb = nullptr;
    if (!verbs().empty()) {
        if (arguments == QStringList(QStringLiteral("--help")) || arguments == QStringList(QStringLiteral("-h"))) {
            showHelp(help(name, summary));
            return done();
        }
        QString mistake;
        verb = takeVerb(name, arguments, &mistake);
        if (!verb)
            return misuse(mistake);
        m_name = verbName(name, *verb);
    }
    const QString what = verb ? QString::fromUtf8(verb->summary) : summary;
    const std::unique_ptr<AppOptions> options = makeOptions(m_name, what, verb);
    options->parse(arguments);
    if (options->isSet(QStringLiteral("help"))) {
        showHelp(options->help(m_name));
        return done();
    }
    m_json = options->isSet(QStringLiteral("json"));
    m_tableOptions.read(*options);
    if (m_json && !m_tableOptions.csvFile().isNull())
        options->setError(QStringLiteral("--json and --csv cannot be used together"));
    if (options->error().isEmpty()) {
        if (verb)
            verb->start(*this, *options);
        else
            start(*options);
    }
    if (!options->error().isEmpty())
        misuse(options->error());
}

void Command::showHelp(const QString& text)
{
    m_output.page(wrappedHelp(text.split(QLatin1Char('\n')), m_output.columns()));
}

QString Command::help(const QString& name, const QString& summary) const
{
    if (verbs().empty())
        return makeOptions(name, summary, nullptr)->help(name);
    QStringList text{summary, QString()};
    int width = 0;
    for (const Verb& verb : verbs())
        width = qMax(width, int(verbName(name, verb).size() + 1 + qstrlen(verb.arguments)));
    for (const Verb& verb : verbs()) {
        const QString call = verbName(name, verb) + QLatin1Char(' ') + QLatin1String(verb.arguments);
        text.append(QStringLiteral("  %1  %2").arg(call.leftJustified(width), QString::fromUtf8(verb.summary)));
    }
    for (const Verb& verb : verbs()) {
        if (!verb.addOptions)
            continue;
        AppOptions options(QString(), variablePrefix(name));
        verb.addOptions(options);
        text += QStringList{QString(), QStringLiteral("Options of %1:").arg(verbName(name, verb))};
        text += options.optionHelp().mid(1); // the first is --help
    }
    text += QStringList{QString(), QStringLiteral("All of them take --json (print the result as JSON) and --help.")};
    return text.join(QLatin1Char('\n'));
}

std::unique_ptr<AppOptions> Command::optionsBehind(const QString& name, QStringList& arguments) const
{
    const Verb* verb = verbs().empty() ? nullptr : takeVerb(name, arguments);
    return verb || verbs().empty() ? makeOptions(name, QString(), verb)
                                   : std::make_unique<AppOptions>(QString(), variablePrefix(name));
}

QStringList Command::variables(const QString& name) const
{
    QStringList names = makeOptions(name, QString(), nullptr)->variables();
    for (const Verb& verb : verbs())
        names += makeOptions(name, QString(), &verb)->variables();
    return names;
}

CSqlAccessControl* Command::model()
{
    QString error;
    CSqlAccessControl* model = m_session.model(error);
    if (!model)
        fail(error);
    return model;
}

void Command::readFile(const QString& name, qint64 most, const std::function<void(const QByteArray&)>& then)
{
    m_output.files().read(name, most, this, [this, then](const QByteArray& bytes, const QString& error) {
        // The user has not waited for it.
        if (m_done)
            return;
        if (!error.isEmpty())
            return fail(error);
        const Session::Acting acting(m_session, m_output.user());
        then(bytes);
    });
}

void Command::writeFile(const QString& name, const Files::Content& content, const std::function<void()>& then,
                        OutputFile::Mode mode)
{
    m_output.files().write(name, mode, content, this, [this, then](const QString& error) {
        // The user has not waited for it.
        if (m_done)
            return;
        if (!error.isEmpty())
            return fail(error);
        const Session::Acting acting(m_session, m_output.user());
        then();
    });
}

void Command::doneWriting(const QString& name, const QString& text, QJsonObject json)
{
    json.insert(QStringLiteral("file"), name);
    if (name != QLatin1String("-"))
        say(text, json);
    done();
}

QString Command::resultLine(const QString& text, const QJsonObject& json) const
{
    return m_json ? QString::fromUtf8(QJsonDocument(json).toJson(QJsonDocument::Compact)) : text;
}

void Command::cancel()
{
    if (m_watch)
        done();
    else
        fail(QStringLiteral("interrupted"));
}

void Command::watch(const std::function<Table()>& view, const QStringList& restless)
{
    if (!m_tableOptions.csvFile().isNull())
        return misuse(QStringLiteral("--watch and --csv cannot be used together"));
    Table table = view();
    QString mistake;
    if (!m_tableOptions.apply(table, mistake))
        return misuse(mistake);
    const auto shown = [this, view] {
        Table table = view();
        QString none;
        m_tableOptions.apply(table, none);
        return table;
    };
    m_watch = new TableWatch(m_output, m_json, shown, restless, this);
    m_watch->look();
}

void Command::watchNow()
{
    if (m_watch)
        m_watch->look();
}

void Command::done(int code)
{
    if (m_done)
        return;
    if (m_watch)
        m_watch->end();
    if (m_filesBegun > 0) {
        m_heldCode = qMax(code, m_heldCode.value_or(0));
        return;
    }
    m_done = true;
    QMetaObject::invokeMethod(
        this, [this, code] { Q_EMIT finished(code); }, Qt::QueuedConnection);
}

void Command::fail(const QString& reason)
{
    if (m_watch)
        m_watch->end();
    if (!m_done)
        warn(reason);
    m_filesBegun = 0; // what went wrong may be one of these
    done(1);
}

void Command::misuse(const QString& reason)
{
    if (!m_done)
        warn(QStringLiteral("%1 (see: help %2)").arg(reason, m_name.section(QLatin1Char(' '), 0, 0)));
    done(2);
}

void Command::warn(const QString& text)
{
    m_output.error(m_name + QLatin1String(": ") + text);
}

void Command::print(Table table)
{
    QString mistake;
    if (!m_tableOptions.apply(table, mistake))
        return misuse(mistake);
    if (!m_tableOptions.csvFile().isNull())
        writeTable(table);
    else if (m_json)
        m_output.line(table.toJson());
    else
        m_output.page(table.toText(m_output.colour(), m_output.columns()));
}

void Command::writeTable(const Table& table)
{
    const auto content = [table, isGuarded = m_tableOptions.isCsvGuarded()](QIODevice& file) {
        table.writeCsv(file, isGuarded);
        return QString();
    };
    ++m_filesBegun;
    const QString name = m_tableOptions.csvFile();
    writeFile(name, content, [this, name, rows = table.rowCount()] {
        --m_filesBegun;
        if (name != QLatin1String("-"))
            m_output.line(QStringLiteral("Wrote %1 rows to %2.").arg(rows).arg(name));
        if (m_filesBegun == 0 && m_heldCode)
            done(*m_heldCode);
    });
}

void Command::printOne(const Table& table)
{
    if (m_json)
        m_output.line(table.toJsonOfOne());
    else
        m_output.lines(table.toTextOfOne());
}
