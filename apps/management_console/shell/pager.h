#pragma once

#include <QtCore/QObject>
#include <QtCore/QStringList>

class QProcess;

/// Shows a long text page by page with the program that the user likes for that (PAGER, else less or more), unless
/// NO_PAGER is set.
class Pager : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;
    ~Pager() override;

    /// Whether so many lines are more than the terminal shows, and a pager is wanted and there.
    static bool isWanted(int lines);

    /// ended() follows, also when it cannot be started: then the text was written as it is.
    void show(const QStringList& lines);
    /// Ends it before the user does.
    void stop();
    bool isRunning() const { return m_process != nullptr; }

Q_SIGNALS:
    void ended();

private:
    void conclude();

    QProcess* m_process = nullptr;
};
