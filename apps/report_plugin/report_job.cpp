#include "report_job.h"

#include "report_helper.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QPointer>

namespace {

constexpr int endMs = 1000;                     // for a process that was killed, which takes none
constexpr int feedingMs = 20;                   // of the event loop, at a time
constexpr qint64 fedAhead = qint64(512) * 1024; // bytes that wait for the helper
constexpr int longestWordLine = 4096;           // of the helper's standard error
constexpr int mostFonts = 50;
constexpr qint64 pdfBase = qint64(64) * 1024 * 1024; // more than a report has, fonts included...
constexpr qint64 pdfPerUser = qint64(256) * 1024;    // ...and more for each user
constexpr qint64 pdfMost = qint64(1024) * 1024 * 1024;

QString defaultTemplate()
{
    QFile file(QStringLiteral(":/kyr_report/user_report.html"));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

// What further sheets need of the template's begin: its style, and not what the first one shows.
QString headOnly(const QString& begin)
{
    for (const char* tag : {"<body", "</head", "</style"}) {
        const int open = int(begin.indexOf(QLatin1String(tag), 0, Qt::CaseInsensitive));
        const int close = open < 0 ? -1 : int(begin.indexOf(QLatin1Char('>'), open));
        if (close >= 0)
            return begin.left(close + 1);
    }
    return {};
}

QByteArray printable(const QByteArray& bytes)
{
    QByteArray text = bytes;
    for (char& c : text) {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F)
            c = ' ';
    }
    return text.trimmed();
}

} // namespace

ReportSource::ReportSource(CBaseReportServer& server, const QString& templateText)
    : m_server(server)
    , m_data(server, m_texts)
    , m_template(m_texts.translated(templateText.isEmpty() ? defaultTemplate() : templateText))
    , m_before(QString())
    , m_within(QString())
    , m_behind(QString())
{
    m_paged = m_template.split(QStringLiteral("user"), m_before, m_within, m_behind)
              && m_within.mentions(QStringLiteral("pageBreak"));
    m_wholeIsDue = !m_paged;
}

ReportSheets::Setup ReportSource::setup() const
{
    const QVariantMap values = m_data.report(0).values;
    return {m_texts.text("User Report"),
            values.value(QStringLiteral("system")).toString() + QStringLiteral(" \u00b7 ")
                + values.value(QStringLiteral("created")).toString(),
            m_texts.text(QT_TRANSLATE_NOOP("UserReport", "Page %1 of %2")), m_server.getWorkspaceFontDir()};
}

bool ReportSource::next(ReportSheets::Sheet& sheet)
{
    if (m_row >= total()) {
        m_wholeIsDue = false;
        SectionTemplate::Entry report = m_data.report(m_count);
        report.sections.insert(QStringLiteral("user"), m_users);
        sheet = {QString(), m_template.fill(report)};
        m_users.clear();
        return m_count > 0;
    }
    SectionTemplate::Entry user;
    if (!m_data.user(m_row++, m_count == 0 || m_paged, user))
        return false;
    const bool first = m_count++ == 0;
    if (!m_paged) {
        m_users.append(user);
        return false;
    }
    SectionTemplate::Entry report = m_data.report(total());
    report.sections.insert(QStringLiteral("user"), {user});
    const QString begin = first ? m_before.fill(report) : m_head;
    if (first)
        m_head = headOnly(begin);
    // What stands behind the users does so once, at the end.
    sheet = {user.values.value(QStringLiteral("name")).toString(),
             begin + m_within.fill(report) + (m_row == total() ? m_behind.fill(report) : QString())};
    return true;
}

QString ReportSource::wholeHtml()
{
    for (m_row = 0; m_row < total(); ++m_row) {
        SectionTemplate::Entry user;
        if (m_data.user(m_row, m_count == 0, user)) {
            m_users.append(user);
            ++m_count;
        }
    }
    SectionTemplate::Entry report = m_data.report(m_count);
    report.sections.insert(QStringLiteral("user"), m_users);
    return m_count == 0 ? QString() : m_template.fill(report);
}

ReportJob::ReportJob(ISimpleAccessControl* model, const QString& templateText, const QList<CItemId>& userIds,
                     QObject* parent)
    : QObject(parent)
    , m_templateText(templateText)
    , m_userIds(userIds)
{
    m_server.setAccessControl(model);
    m_silence.setInterval(longestSilenceMs);
    m_silence.setSingleShot(true);
    m_feeding.setInterval(0);
    connect(&m_silence, &QTimer::timeout, this,
            [this] { giveUp(QStringLiteral("the program that renders the report does not respond")); });
    connect(&m_feeding, &QTimer::timeout, this, [this] { feed(feedingMs); });
    connect(&m_helper, &QProcess::readyReadStandardOutput, this, &ReportJob::readPdf);
    connect(&m_helper, &QProcess::readyReadStandardError, this, &ReportJob::readWords);
    connect(&m_helper, &QProcess::bytesWritten, this, [this] {
        m_lastSign.start();
        if (!m_finished)
            return;
        m_silence.start();
        if (!m_fed)
            m_feeding.start();
    });
    connect(&m_helper, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this, &ReportJob::onHelperEnded);
    connect(&m_helper, &QProcess::errorOccurred, this, [this](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            giveUp(QStringLiteral("the program kyr_report_pdf cannot be started: %1").arg(m_helper.errorString()));
    });
}

ReportJob::~ReportJob()
{
    m_helper.disconnect(this);
    m_helper.kill();
    m_helper.waitForFinished(endMs);
}

void ReportJob::start(const Progress& progress, const Finished& finished)
{
    m_progress = progress;
    m_finished = finished;
    QTimer::singleShot(0, this, [this] {
        begin();
        if (m_ended)
            return;
        m_silence.start();
        m_feeding.start();
    });
}

QByteArray ReportJob::run()
{
    constexpr int turnMs = 50;
    begin();
    while (!m_ended) {
        if (!m_fed && m_helper.bytesToWrite() < fedAhead)
            feed(feedingMs);
        else if (!m_fed)
            m_helper.waitForBytesWritten(turnMs);
        else
            m_helper.waitForFinished(turnMs);
        if (!m_ended && m_lastSign.elapsed() > longestSilenceMs)
            giveUp(QStringLiteral("the program that renders the report does not respond"));
    }
    return m_error.isEmpty() ? m_pdf : QByteArray();
}

void ReportJob::begin()
{
    m_lastSign.start();
    m_server.setBaseModel(QStringLiteral("Users"), QStringLiteral("user"), m_userIds);
    m_source = std::make_unique<ReportSource>(m_server, m_templateText);
    m_helper.start(reportHelperProgram(), QStringList());
    if (!m_ended)
        m_helper.write(ReportSheets::encoded(m_source->setup()));
}

void ReportJob::feed(int budgetMs)
{
    QElapsedTimer spent;
    spent.start();
    ReportSheets::Sheet sheet;
    while (!m_ended && !m_source->atEnd() && m_helper.bytesToWrite() < fedAhead && spent.elapsed() < budgetMs) {
        if (m_source->next(sheet))
            m_helper.write(ReportSheets::encoded(sheet));
    }
    if (m_ended)
        return;
    if (m_source->atEnd()) {
        m_fed = true;
        if (m_source->count() == 0)
            return giveUp(QStringLiteral("none of these users exists"));
        m_helper.closeWriteChannel();
    }
    if (m_fed || m_helper.bytesToWrite() >= fedAhead)
        m_feeding.stop();
}

void ReportJob::readPdf()
{
    m_lastSign.start();
    if (m_finished)
        m_silence.start();
    m_pdf += m_helper.readAllStandardOutput();
    if (m_pdf.size() > qMin(pdfMost, pdfBase + pdfPerUser * m_userIds.size()))
        giveUp(QStringLiteral("the program that renders the report returned too much data"));
}

void ReportJob::readWords()
{
    m_words += m_helper.readAllStandardError();
    const QPointer<ReportJob> guard(this);
    int begin = 0;
    for (int end; (end = int(m_words.indexOf('\n', begin))) >= 0; begin = end + 1) {
        const QByteArray line = printable(m_words.mid(begin, qMin(end - begin, longestWordLine)));
        const QByteArray word = line.left(line.indexOf(' '));
        const QByteArray about = line.mid(word.size() + 1);
        if (word == "sheet") {
            m_lastSign.start();
            if (m_finished)
                m_silence.start();
            if (m_progress && !m_ended)
                m_progress(qMin(about.toInt(), m_source->total()), m_source->total());
            if (!guard)
                return;
        } else if (word == "missing-font") {
            if (m_missingFonts.size() < mostFonts)
                m_missingFonts.append(QString::fromUtf8(about));
        } else if (word == "missing-characters") {
            qWarning("ReportPlugin: no font has these characters, the report shows boxes: %s", about.constData());
        } else if (word == "error") {
            m_reason = QString::fromUtf8(about);
        } else if (!line.isEmpty()) {
            qDebug("ReportPlugin: kyr_report_pdf: %s", line.constData());
        }
    }
    m_words.remove(0, begin);
    if (m_words.size() > longestWordLine)
        m_words.clear();
}

void ReportJob::onHelperEnded()
{
    if (m_ended)
        return;
    const QPointer<ReportJob> guard(this);
    readPdf();
    if (guard)
        readWords();
    if (!guard || m_ended)
        return;
    tellFonts();
    if (m_helper.exitStatus() != QProcess::NormalExit)
        return end({}, QStringLiteral("the program that renders the report crashed"));
    if (!m_reason.isEmpty() || m_helper.exitCode() != 0) {
        return end(
            {}, m_reason.isEmpty()
                    ? QStringLiteral("the program that renders the report failed with code %1").arg(m_helper.exitCode())
                    : m_reason);
    }
    if (!m_fed || !m_pdf.startsWith("%PDF-") || !m_pdf.right(16).trimmed().endsWith("%%EOF"))
        return end({}, QStringLiteral("the program that renders the report did not return a PDF document"));
    end(m_pdf, {});
}

void ReportJob::giveUp(const QString& reason)
{
    if (m_ended)
        return;
    tellFonts();
    m_helper.disconnect(this);
    m_helper.kill();
    end({}, reason);
}

void ReportJob::end(const QByteArray& pdf, const QString& error)
{
    m_ended = true;
    m_error = error;
    m_silence.stop();
    m_feeding.stop();
    if (!error.isEmpty())
        qWarning("ReportPlugin: %s", qUtf8Printable(error));
    if (!m_finished)
        return;
    deleteLater();
    const Finished finished = m_finished; // which may delete this
    finished(pdf, error);
}

void ReportJob::tellFonts()
{
    if (!m_missingFonts.isEmpty()) {
        qWarning("ReportPlugin: missing fonts: %s", qUtf8Printable(m_missingFonts.join(QLatin1String(", "))));
        m_server.logMissingFonts(m_missingFonts, QStringLiteral("User Report"));
    }
    m_missingFonts.clear();
}
