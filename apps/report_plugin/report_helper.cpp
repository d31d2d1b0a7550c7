#include "report_helper.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QStandardPaths>
#include <QtCore/QTimer>

namespace {

constexpr int endMs = 1000;          // for a process that was killed, which takes none
constexpr int mostWords = 64 * 1024; // of the helper's standard error

// What the helper said of an error, by its own words.
QString errorAmong(const QByteArray& words)
{
    const QList<QByteArray> lines = words.split('\n');
    for (const QByteArray& line : lines) {
        if (line.startsWith("error "))
            return QString::fromUtf8(line.mid(6)).trimmed();
    }
    return {};
}

} // namespace

QString reportHelperProgram()
{
    const QString name = QStringLiteral("kyr_report_pdf");
    const QDir application(QCoreApplication::applicationDirPath());
    const QString beside = QStandardPaths::findExecutable(
        name, {application.path(), application.filePath(QStringLiteral(KYR_HELPERS_FROM_TOOLS)),
               QStringLiteral(KYR_HELPERS)});
    return beside.isEmpty() ? QStandardPaths::findExecutable(name) : beside;
}

ReportHelperRun::ReportHelperRun(const ReportSheets::Setup& setup, const QVector<ReportSheets::Sheet>& sheets,
                                 QObject* parent)
    : QObject(parent)
{
    auto* silence = new QTimer(this);
    silence->setSingleShot(true);
    connect(silence, &QTimer::timeout, this,
            [this] { end({}, QStringLiteral("the program that renders the report does not respond")); });
    connect(&m_helper, &QProcess::readyReadStandardOutput, this, [this, silence] {
        silence->start();
        m_pdf += m_helper.readAllStandardOutput();
        if (m_pdf.size() > largestPdf)
            end({}, QStringLiteral("the program that renders the report returned too much data"));
    });
    connect(&m_helper, &QProcess::readyReadStandardError, this, [this, silence] {
        silence->start();
        m_words = QByteArray(m_words + m_helper.readAllStandardError()).right(mostWords);
    });
    connect(&m_helper, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            end({}, QStringLiteral("the program kyr_report_pdf cannot be started: %1").arg(m_helper.errorString()));
    });
    connect(&m_helper, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this, &ReportHelperRun::onEnded);
    silence->start(longestSilenceMs);
    // From the event loop: whoever made this hears of a failure, too.
    QTimer::singleShot(0, this, [this, setup, sheets] {
        m_helper.start(reportHelperProgram(), QStringList());
        if (m_isEnded)
            return;
        m_helper.write(ReportSheets::encoded(setup));
        for (const ReportSheets::Sheet& sheet : sheets)
            m_helper.write(ReportSheets::encoded(sheet));
        m_helper.closeWriteChannel();
    });
}

ReportHelperRun::~ReportHelperRun()
{
    m_helper.disconnect(this);
    m_helper.kill();
    m_helper.waitForFinished(endMs);
}

void ReportHelperRun::onEnded()
{
    m_pdf += m_helper.readAllStandardOutput();
    m_words += m_helper.readAllStandardError();
    const QString reason = errorAmong(m_words);
    if (m_helper.exitStatus() != QProcess::NormalExit || m_helper.exitCode() != 0 || !m_pdf.startsWith("%PDF-"))
        return end({}, reason.isEmpty() ? QStringLiteral("the program that renders the report failed") : reason);
    end(m_pdf, QString());
}

void ReportHelperRun::end(const QByteArray& pdf, const QString& error)
{
    if (m_isEnded)
        return;
    m_isEnded = true;
    deleteLater();
    Q_EMIT finished(pdf, error);
}
