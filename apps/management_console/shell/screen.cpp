#include "shell/screen.h"

#include "shell/terminal.h"
#include "shell/terminal_signals.h"

#include <foundation/cli/abstract_cli.h>

Screen::Screen(CAbstractCli& cli, const QString& prompt)
    : m_cli(cli)
    , m_prompt(prompt)
{
    connect(&m_pager, &Pager::ended, this, [this] {
        const QVector<Held> held = m_held;
        m_held.clear();
        for (const Held& one : held)
            write(one.text, one.isError);
        Q_EMIT paged();
    });
    connect(TerminalSignals::instance(), &TerminalSignals::continued, this, &Screen::showAgain);
}

// Whoever had the terminal meanwhile has written below it.
void Screen::showAgain()
{
    const QStringList live = m_live;
    m_live.clear();
    if (!live.isEmpty())
        show(live);
}

void Screen::write(const QString& text, bool isError)
{
    if (isPaging())
        m_held.append({text, isError});
    else if (isError)
        m_cli.writeErrorLine(text);
    else
        m_cli.writeLine(text);
}

void Screen::line(const QString& text)
{
    progress(QString());
    write(text, false);
}

void Screen::error(const QString& text)
{
    progress(QString());
    write(text, true);
}

void Screen::news(const QString& text, bool isWaiting)
{
    const QStringList live = m_live;
    clear();
    write(text, false);
    if (!live.isEmpty())
        show(live);
    else if (isWaiting && !m_prompt.isEmpty())
        Terminal::show(m_prompt);
}

void Screen::progress(const QString& text)
{
    if (!Terminal::isInteractive() || isPaging())
        return;
    clear();
    if (!text.isEmpty())
        show({text});
}

void Screen::redraw(const QStringList& texts)
{
    if (texts.isEmpty() && !m_live.isEmpty()) {
        m_live.clear();
        return Terminal::show(QStringLiteral("\n"));
    }
    clear();
    show(texts);
}

// The cursor stays behind the last of them.
void Screen::show(const QStringList& texts)
{
    const Terminal::Size size = Terminal::size();
    m_live = size.rows > 1 ? QStringList(texts.mid(0, size.rows - 1)) : texts;
    for (QString& text : m_live)
        text = Terminal::cut(text, size.columns > 1 ? size.columns - 1 : 0);
    Terminal::show(m_live.join(QLatin1Char('\n')));
}

void Screen::clear()
{
    if (m_live.isEmpty())
        return;
    // A window that has become narrower has wrapped them.
    const int columns = Terminal::size().columns;
    int rows = 0;
    for (const QString& text : qAsConst(m_live))
        rows += columns > 0 ? qMax(1, (Terminal::width(text) + columns - 1) / columns) : 1;
    if (rows > 1)
        Terminal::show(QStringLiteral("\r\033[%1A\033[J").arg(rows - 1));
    else
        Terminal::clearLine();
    m_live.clear();
}

void Screen::page(const QStringList& texts)
{
    progress(QString());
    if (!isPaging() && Pager::isWanted(int(texts.size())))
        return m_pager.show(texts);
    for (const QString& text : texts)
        write(text, false);
}
