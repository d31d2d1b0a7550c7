#pragma once

#include <QtCore/QObject>

class Console;

/// What the commands of one console share: the way out for their text, and what lives longer than a command.
class Session : public QObject
{
    Q_OBJECT

public:
    explicit Session(Console* console);
    ~Session() override;

    /// A line of a command's result.
    void line(const QString& text);
    void lines(const QStringList& texts);
    /// What went wrong, in one line.
    void error(const QString& text);
    /// News that no command asked for; on a terminal the prompt is put back below it.
    void event(const QString& text);
    /// How far a long command has come. Shown on a terminal only, in one line that is written over.
    void progress(const QString& text);
    bool colour() const;

    /// Something goes on in the background, so the program does not end with its only command.
    bool isServing() const { return m_serving; }
    void setServing(bool serving) { m_serving = serving; }

    void quit();

private:
    Console* m_console;
    bool m_serving = false;
};
