#include <foundation/cli/console_p.h>
#include <foundation/cli/standard_io_handler.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QMetaMethod>
#include <QtCore/QThread>

namespace {

// How long the end of the application waits for the input thread, which needs microseconds unless its terminal stalls.
constexpr unsigned long threadEndTimeoutMs = 1000;

QByteArray lineBytes(const QString& line)
{
    QByteArray bytes = line.toUtf8();
    bytes.append('\n');
    return bytes;
}

} // namespace

CStandardIOHandler::CStandardIOHandler(const char* prompt)
    : CAbstractCliIO(nullptr)
    , m_prompt(prompt)
    , m_console(std::make_shared<CConsole>())
{
}

CStandardIOHandler::~CStandardIOHandler()
{
    // Deleted by hand while the thread still runs: end that first. On its own thread the end is already under way.
    if (m_thread && m_thread != QThread::currentThread()) {
        m_thread->disconnect(this);
        m_console->interrupt();
        m_thread->quit();
        m_thread->wait();
    }
}

void CStandardIOHandler::start()
{
    if (m_thread)
        return;
    m_thread = new QThread;
    m_thread->setObjectName(QStringLiteral("conInThread"));
    connect(m_thread.data(), &QThread::started, this, &CStandardIOHandler::blockingReadLine);
    connect(m_thread.data(), &QThread::finished, this, &QObject::deleteLater);
    connect(m_thread.data(), &QThread::finished, m_thread.data(), &QObject::deleteLater);
    // A program that quits without stopping the channel must neither hang in the read nor run its static destructors
    // beside the thread.
    connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, m_thread.data(),
            [thread = m_thread.data(), console = m_console] {
                console->interrupt();
                thread->quit();
                thread->wait(threadEndTimeoutMs);
            });
    moveToThread(m_thread.data());
    m_thread->start(QThread::InheritPriority);
}

void CStandardIOHandler::stop()
{
    if (!m_thread)
        return;
    m_console->interrupt();
    QMetaObject::invokeMethod(m_thread.data(), &QThread::quit, Qt::QueuedConnection);
}

void CStandardIOHandler::readLine()
{
    QMetaObject::invokeMethod(this, &CStandardIOHandler::blockingReadLine, Qt::QueuedConnection);
}

void CStandardIOHandler::blockingReadLine()
{
    if (m_ended)
        return;
    if (m_prompt)
        m_console->writePrompt(m_prompt, qstrlen(m_prompt));
    std::string line;
    switch (m_console->readLine(line)) {
    case CConsole::ReadResult::Line:
        Q_EMIT lineReady(QString::fromUtf8(line.data(), int(line.size())));
        break;
    case CConsole::ReadResult::End:
        m_ended = true;
        if (isSignalConnected(QMetaMethod::fromSignal(&CAbstractCliIO::inputEnded)))
            Q_EMIT inputEnded();
        else
            stop();
        break;
    case CConsole::ReadResult::Interrupted:
        break;
    }
}

void CStandardIOHandler::writeLine(const QString& line)
{
    const QByteArray bytes = lineBytes(line);
    m_console->writeOutput(bytes.constData(), std::size_t(bytes.size()));
}

void CStandardIOHandler::writeErrorLine(const QString& line)
{
    const QByteArray bytes = lineBytes(line);
    m_console->writeError(bytes.constData(), std::size_t(bytes.size()));
}

void CStandardIOHandler::flushStandardOutput() {}
