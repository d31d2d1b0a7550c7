#include "session.h"

#include "console.h"

Session::Session(Console* console)
    : QObject(console)
    , m_console(console)
{
}

Session::~Session() = default;

void Session::line(const QString& text)
{
    progress(QString());
    m_console->writeLine(text);
}

void Session::lines(const QStringList& texts)
{
    for (const QString& text : texts)
        line(text);
}

void Session::error(const QString& text)
{
    progress(QString());
    m_console->writeErrorLine(text);
}

void Session::event(const QString& text)
{
    m_console->writeEvent(text);
}

void Session::progress(const QString& text)
{
    m_console->showProgress(text);
}

bool Session::colour() const
{
    return m_console->colour();
}

void Session::quit()
{
    m_console->terminate();
}
