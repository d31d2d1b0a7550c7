#pragma once

#include <foundation/cli/abstract_cli_io.h>
#include <foundation/core/export.h>

#include <QtCore/QPointer>

/// The interpreter of a command-line program. A tool derives from it and implements the commands:
/// \code
///     class Tool : public CAbstractCli
///     {
///     public Q_SLOTS:
///         void readLine(const QString& line) override
///         {
///             if (line == QLatin1String("quit"))
///                 return terminate();
///             writeLine(QStringLiteral("unknown command: %1").arg(line));
///             setReturnCode(1);
///             promptNextLine();
///         }
///     };
///     Tool tool(new CStandardIOHandler("> "), nullptr);
///     tool.execute();
///     return app.exec(); // the return code, once terminate() was called or the input has ended
/// \endcode
class KYR_FOUNDATION_EXPORT CAbstractCli : public QObject
{
    Q_OBJECT

public:
    /// Uses `io`, which is not owned and may go before the interpreter does.
    CAbstractCli(CAbstractCliIO* io, QObject* parent);
    ~CAbstractCli() override;

    /// Asks the channel for the next line; a tool calls it when it is ready for another command.
    void promptNextLine();
    /// Forwarded to the channel.
    void flushStandardOutput();
    /// Stores the exit code of the program, 0 until then.
    void setReturnCode(int returnCode);

public Q_SLOTS:
    /// Starts the channel; each line then reaches readLine(). At the end of the input the program is terminated.
    void execute();
    /// Flushes and stops the channel and ends the program with the stored return code after the current event. A
    /// channel that has a thread of its own gets no lines that are written in later events; a line that was read before
    /// still reaches readLine().
    void terminate();
    /// Forwarded to the channel.
    void writeLine(const QString& line);
    /// Forwarded to the channel.
    void writeErrorLine(const QString& line);
    /// Runs one command. The next line comes only after promptNextLine() (a local socket does not wait for it).
    virtual void readLine(const QString& line) = 0;
    /// Ends the application's event loop with the stored return code.
    void quitApplicationWithReturnCode();

private:
    CAbstractCliIO* channel() const;

    QPointer<CAbstractCliIO> m_io;
    int m_returnCode = 0;
    bool m_stopped = false;
};
