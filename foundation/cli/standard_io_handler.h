#pragma once

#include <foundation/cli/abstract_cli_io.h>
#include <foundation/core/export.h>

#include <QtCore/QPointer>

#include <memory>

class CConsole;
class QThread;

/// The process's console as a channel. Lines are read on a thread of its own, so the event loop never blocks; output is
/// written at once, from whichever thread calls.
///
/// The handler is created on the heap without a parent. start() moves it into its thread; after stop(), or when the
/// application quits, thread and handler delete themselves. A read that is waiting for a line does not delay that.
///
/// Input from a pipe or a file arrives line by line as well. A last line without a line feed is delivered; the request
/// after it emits inputEnded(), and when nobody listens to that the handler stops itself.
class KYR_FOUNDATION_EXPORT CStandardIOHandler : public CAbstractCliIO
{
    Q_OBJECT

public:
    /// `prompt` is written before every read; it may be null and must outlive the handler (usually a literal).
    explicit CStandardIOHandler(const char* prompt);
    ~CStandardIOHandler() override;

    void writeLine(const QString& line) override;
    void writeErrorLine(const QString& line) override;
    /// Does nothing: no output is buffered.
    void flushStandardOutput() override;
    void readLine() override;
    /// Starts the input thread and asks for the first line.
    void start() override;
    void stop() override;

private Q_SLOTS:
    void blockingReadLine();

private:
    const char* m_prompt;
    QPointer<QThread> m_thread;
    bool m_ended = false; // used in the input thread only
    // Shared with what ends the input thread when the application quits, which may come after the handler has gone.
    std::shared_ptr<CConsole> m_console;
};
