#include <foundation/cli/abstract_cli.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QTimer>

CAbstractCli::CAbstractCli(CAbstractCliIO* io, QObject* parent)
    : QObject(parent)
    , m_io(io)
{
}

CAbstractCli::~CAbstractCli() = default;

CAbstractCliIO* CAbstractCli::channel() const
{
    return m_stopped ? nullptr : m_io.data();
}

void CAbstractCli::execute()
{
    if (!m_io)
        return;
    m_stopped = false;
    connect(m_io.data(), &CAbstractCliIO::lineReady, this, &CAbstractCli::readLine, Qt::UniqueConnection);
    connect(m_io.data(), &CAbstractCliIO::inputEnded, this, &CAbstractCli::terminate, Qt::UniqueConnection);
    m_io->start();
}

void CAbstractCli::promptNextLine()
{
    if (CAbstractCliIO* io = channel())
        io->readLine();
}

void CAbstractCli::writeLine(const QString& line)
{
    if (CAbstractCliIO* io = channel())
        io->writeLine(line);
}

void CAbstractCli::writeErrorLine(const QString& line)
{
    if (CAbstractCliIO* io = channel())
        io->writeErrorLine(line);
}

void CAbstractCli::flushStandardOutput()
{
    if (CAbstractCliIO* io = channel())
        io->flushStandardOutput();
}

void CAbstractCli::setReturnCode(int returnCode)
{
    m_returnCode = returnCode;
}

void CAbstractCli::terminate()
{
    if (CAbstractCliIO* io = channel()) {
        // A console channel deletes itself in its own thread once that has ended, which its stop() asks for by an event
        // of this thread. The channel is let go by an earlier event, so nothing here can meet it half gone.
        if (io->thread() != thread())
            QMetaObject::invokeMethod(
                this, [this] { m_stopped = true; }, Qt::QueuedConnection);
        io->flushStandardOutput();
        io->stop();
    }
    if (m_returnCode != 0)
        QTimer::singleShot(0, this, &CAbstractCli::quitApplicationWithReturnCode);
    else
        QTimer::singleShot(0, QCoreApplication::instance(), &QCoreApplication::quit);
}

void CAbstractCli::quitApplicationWithReturnCode()
{
    QCoreApplication::exit(m_returnCode);
}
