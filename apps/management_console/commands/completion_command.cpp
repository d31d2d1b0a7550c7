// What a shell needs to complete the console's words.
#include "commands/command_table.h"
#include "shell/command.h"
#include "shell/completion.h"
#include "shell/global_options.h"

#include <QtCore/QFile>

// The library that holds this is a static one: without a call nothing of its resources is linked.
static void initializeResources()
{
    Q_INIT_RESOURCE(completion);
}

namespace {

/// A line as a POSIX shell reads it up to where the user types.
struct ShellLine
{
    QStringList words; ///< without quotes and backslashes; the last one is being typed
    QChar openQuote;   ///< of the last one
    QString typed;     ///< the last one as it was typed
};

ShellLine readShellLine(const QString& line)
{
    ShellLine read;
    QString word;
    bool isWord = false;
    int begin = 0;
    for (int i = 0; i < line.size(); ++i) {
        const QChar character = line.at(i);
        const bool isBlank = character == QLatin1Char(' ') || character == QLatin1Char('\t');
        if (isBlank && read.openQuote.isNull()) {
            if (isWord)
                read.words.append(word);
            word.clear();
            isWord = false;
            begin = i + 1;
            continue;
        }
        isWord = true;
        if (character == QLatin1Char('\\') && read.openQuote != QLatin1Char('\'')) {
            if (i + 1 < line.size())
                word += line.at(++i);
        } else if (character == read.openQuote) {
            read.openQuote = QChar();
        } else if (read.openQuote.isNull() && (character == QLatin1Char('"') || character == QLatin1Char('\''))) {
            read.openQuote = character;
        } else {
            word += character;
        }
    }
    read.words.append(word);
    read.typed = line.mid(begin);
    return read;
}

QString shellQuoted(const QString& text)
{
    QString quoted;
    for (const QChar character : text) {
        if (QLatin1String(" \t\\'\"`$&|;<>()*?[]{}!#~").contains(character))
            quoted += QLatin1Char('\\');
        quoted += character;
    }
    return quoted;
}

class CompletionCommand : public Command
{
public:
    using Command::Command;

    const std::vector<Verb>& verbs() const override
    {
        static const std::vector<Verb> table = {
            {"bash", "", "prints the completion script for bash: source <(kyr_console completion bash)",
             &startVerb<&CompletionCommand::bash>},
            {"zsh", "", "prints the completion function for zsh: save it as _kyr_console in a folder of fpath",
             &startVerb<&CompletionCommand::zsh>},
            {"line", "LINE", "lists what may follow a line, for the bash script", &startVerb<&CompletionCommand::line>},
            {"words", "[WORD...]", "lists what the last word may be, for the zsh function",
             &startVerb<&CompletionCommand::words>},
        };
        return table;
    }

private:
    void bash(AppOptions&) { printFile(QStringLiteral(":/completion/kyr_console.bash")); }
    void zsh(AppOptions&) { printFile(QStringLiteral(":/completion/_kyr_console")); }

    void printFile(const QString& name)
    {
        initializeResources();
        QFile file(name);
        if (!file.open(QIODevice::ReadOnly))
            return fail(file.errorString());
        output().line(QString::fromUtf8(file.readAll().trimmed()));
        done();
    }

    // First "words" or "files" with what stands in front of a file's name, then the words.
    void tell(const Completion& found, const QStringList& words)
    {
        output().line(found.files ? QLatin1String("files ") + found.filePrefix : QStringLiteral("words"));
        output().lines(words);
        done();
    }

    void line(AppOptions& options)
    {
        const ShellLine line = readShellLine(options.positional().constFirst());
        const Completion found = find(line.words.mid(1));
        // bash replaces only what stands behind the last of these, unless the word is in quotes.
        const bool isQuoted = line.typed.startsWith(QLatin1Char('"')) || line.typed.startsWith(QLatin1Char('\''));
        const int separator = qMax(line.typed.lastIndexOf(QLatin1Char('=')), line.typed.lastIndexOf(QLatin1Char(':')));
        QStringList words;
        for (const QString& word : found.words) {
            const QString whole = isQuoted ? word : shellQuoted(word);
            if (isQuoted)
                words.append(whole);
            else if (whole.startsWith(line.typed.left(separator + 1)))
                words.append(whole.mid(separator + 1)
                             + (whole.endsWith(QLatin1Char('=')) ? QString() : QStringLiteral(" ")));
        }
        tell(found, words);
    }

    void words(AppOptions& options)
    {
        const Completion found = find(options.positional());
        tell(found, found.words);
    }

    // The program's own options may stand in front of the command.
    Completion find(const QStringList& typed)
    {
        AppOptions global{QString(), QByteArray()};
        addGlobalOptions(global);
        QStringList words = typed;
        const QString last = words.isEmpty() ? QString() : words.takeLast();
        QString database;
        const auto nameOf = [](const QString& option) {
            return option.section(QLatin1Char('='), 0, 0).remove(0, option.startsWith(QLatin1String("--")) ? 2 : 1);
        };
        while (!words.isEmpty() && words.constFirst().startsWith(QLatin1Char('-'))) {
            const QString option = words.takeFirst();
            const QString name = nameOf(option);
            QString value = option.contains(QLatin1Char('=')) ? option.section(QLatin1Char('='), 1) : QString();
            const QString valueName = valueNameOf(global, name);
            if (!valueName.isEmpty() && value.isNull()) {
                if (words.isEmpty())
                    return valuesOf(valueName);
                value = words.takeFirst();
            }
            if (name == QLatin1String("database"))
                database = value;
        }
        if (words.isEmpty() && last.startsWith(QLatin1Char('-'))) {
            const int equals = int(last.indexOf(QLatin1Char('=')));
            if (equals > 0)
                return valuesOf(valueNameOf(global, nameOf(last)), last.left(equals + 1));
            Completion found;
            for (const AppOptions::Option& option : global.options()) {
                const QString text = QLatin1String("--") + option.name;
                if (text.startsWith(last))
                    found.words.append(text);
            }
            return found;
        }
        if (database.isEmpty())
            return completionOf(session(), words, last);
        Session other(commandTable(), database);
        return completionOf(other, words, last);
    }

    static QString valueNameOf(const AppOptions& options, const QString& name)
    {
        for (const AppOptions::Option& option : options.options()) {
            if (option.name == name)
                return option.valueName;
        }
        return {};
    }

    static Completion valuesOf(const QString& valueName, const QString& prefix = {})
    {
        Completion found;
        found.filePrefix = prefix;
        found.files = valueName == QLatin1String("FILE") || valueName == QLatin1String("LOCATION")
                      || valueName == QLatin1String("NAME");
        return found;
    }
};

} // namespace

extern const CommandEntry completionCommand = {
    "completion", "Prints the script with which a shell completes commands of this program.",
    &makeCommand<CompletionCommand>};
