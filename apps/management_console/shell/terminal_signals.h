#pragma once

#include <QtCore/QObject>

/// What happens to the terminal of this process.
class TerminalSignals : public QObject
{
    Q_OBJECT

public:
    /// One for all, which lives as long as the application. It says nothing where the system has no such signals.
    static TerminalSignals* instance();

Q_SIGNALS:
    /// The window has another size.
    void resized();
    /// The process goes on after it was stopped: others have used the terminal.
    void continued();

private:
    explicit TerminalSignals(QObject* parent);
    void onReadable();
};
