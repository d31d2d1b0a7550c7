#pragma once

#include <foundation/core/export.h>

#include <QtCore/QObject>

/// The channel of a command-line program: lines come in by a signal, lines go out by calls.
///
/// Two channels exist: the process's console (CStandardIOHandler) and a named local socket (CLocalSocketCliIO). A
/// program does not care which one it has: \code
///     connect(io, &CAbstractCliIO::lineReady, this, &Tool::runCommand);
///     io->start();
///     ...
///     io->writeLine(QStringLiteral("done"));
///     io->readLine(); // ask for the next command
/// \endcode
/// After stop() a channel gives no line any more; what is written afterwards may be lost.
class KYR_FOUNDATION_EXPORT CAbstractCliIO : public QObject
{
    Q_OBJECT

public:
    explicit CAbstractCliIO(QObject* parent = nullptr);
    ~CAbstractCliIO() override;

    /// Writes one line; the channel adds the line feed. A channel without a reader drops it.
    virtual void writeLine(const QString& line) = 0;
    /// The same for errors. A channel that has no second way out treats them as ordinary lines.
    virtual void writeErrorLine(const QString& line) = 0;
    /// Makes sure that everything written so far has left the program.
    virtual void flushStandardOutput() = 0;
    /// Asks for one more line, which arrives with lineReady(). Returns at once.
    virtual void readLine() = 0;
    /// Opens the channel.
    virtual void start() = 0;
    /// Closes the channel. May be called more than once.
    virtual void stop() = 0;

Q_SIGNALS:
    /// One line of input, without its line end. May be emitted from a thread of the channel's own.
    void lineReady(const QString& line);
    /// No line can come any more: end of a file or pipe, a terminal that was closed. Emitted at most once, in answer to
    /// a request for a line, never by stop(). Channels without an end never emit it.
    void inputEnded();
};
