#pragma once

#include "shell/files.h"

#include <QtCore/QStringList>

class CommandClient;

/// Who gave a command: where its text goes (the program's own terminal, or the client that asked), whose files it
/// names, and who that is.
class Output
{
public:
    virtual ~Output() = default;

    /// A line of a command's result.
    virtual void line(const QString& text) = 0;
    /// What went wrong, in one line. What would steer a terminal is taken out.
    virtual void error(const QString& text) = 0;
    /// How far a long command has come. Shown on a terminal only, in one line that is written over; an empty text takes
    /// it away.
    virtual void progress(const QString& text) = 0;
    virtual bool colour() const = 0;
    /// The files that the words of the command name.
    virtual Files& files() = 0;
    /// A client that runs its scripts itself; null where there is none.
    virtual CommandClient* scriptClient() { return nullptr; }
    /// The name of the user who gave the command, for the trail. Empty: that of this process.
    virtual QString user() const { return {}; }

    /// Columns that a table may take; 0: as many as it needs, nobody looks at it on a terminal.
    virtual int columns() const { return 0; }
    /// Rows of that terminal; 0 without one.
    virtual int rows() const { return 0; }
    /// A table, which may be longer than the screen.
    virtual void page(const QStringList& texts) { lines(texts); }
    /// What takes the place of what was shown so before, where rows() is not 0. Nothing: it stays, and what comes next
    /// stands below.
    virtual void redraw(const QStringList& texts) { lines(texts); }

    void lines(const QStringList& texts)
    {
        for (const QString& text : texts)
            line(text);
    }
};
