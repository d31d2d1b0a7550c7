#include "shell/choices.h"

#include "shell/terminal.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>

static constexpr int mostChoices = 200; // that are shown for one Tab

QString commonBegin(const QStringList& words)
{
    QString common = words.constFirst();
    for (const QString& word : words) {
        int length = 0;
        while (length < common.size() && length < word.size() && common.at(length) == word.at(length))
            ++length;
        common.truncate(length);
    }
    if (!common.isEmpty() && common.at(common.size() - 1).isHighSurrogate())
        common.chop(1);
    return common;
}

QStringList filesThatBeginWith(const QString& text)
{
    const int slash = int(text.lastIndexOf(QLatin1Char('/'))) + 1;
    QString folder = text.left(slash);
    if (folder == QLatin1String("~/") || folder.startsWith(QLatin1String("~/")))
        folder.replace(0, 1, QDir::homePath());
    const QString name = text.mid(slash);
    QDir::Filters filters = QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot;
    if (name.startsWith(QLatin1Char('.')))
        filters |= QDir::Hidden;
    QStringList found;
    const QFileInfoList entries =
        QDir(folder.isEmpty() ? QStringLiteral(".") : folder).entryInfoList(filters, QDir::Name);
    for (const QFileInfo& entry : entries) {
        if (entry.fileName().startsWith(name) && Terminal::printable(entry.fileName()) == entry.fileName())
            found.append(folder + entry.fileName() + (entry.isDir() ? QStringLiteral("/") : QString()));
    }
    return found;
}

QStringList choicesInColumns(const QStringList& words, int terminalColumns)
{
    const int columns = terminalColumns > 0 ? terminalColumns : 80;
    int width = 1;
    for (const QString& word : words.mid(0, mostChoices))
        width = qMax(width, qMin(Terminal::width(word), columns - 2));
    const int across = qMax(1, columns / (width + 2));
    const int shown = qMin(int(words.size()), mostChoices);
    const int down = (shown + across - 1) / across;
    QStringList lines;
    for (int row = 0; row < down; ++row) {
        QString line;
        for (int i = row; i < shown; i += down) {
            const QString word = Terminal::cut(words.at(i), width);
            line += word;
            if (i + down < shown)
                line += QString(width + 2 - Terminal::width(word), QLatin1Char(' '));
        }
        lines.append(line);
    }
    if (shown < words.size())
        lines.append(QStringLiteral("and %1 more").arg(words.size() - shown));
    return lines;
}
