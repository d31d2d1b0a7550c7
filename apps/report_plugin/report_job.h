#pragma once

#include "report_data.h"
#include "report_sheets.h"

#include <foundation/services/base_report_server.h>
#include <foundation/services/report_generator.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QProcess>
#include <QtCore/QTimer>

/// What a report is made of, piece by piece: the sheets of its template and of the users of a server's base model. A
/// template whose section "user" mentions $pageBreak gives each user a sheet; any other is one sheet for all.
class ReportSource
{
public:
    ReportSource(CBaseReportServer& server, const QString& templateText);

    ReportSheets::Setup setup() const;
    /// Users that were looked at, and all that there are.
    int done() const { return m_row; }
    int total() const { return m_data.rows(); }
    bool atEnd() const { return m_row >= total() && !m_wholeIsDue; }
    /// Looks at one user more; false when that gave no sheet.
    bool next(ReportSheets::Sheet& sheet);
    /// Users who are in the report.
    int count() const { return m_count; }

    /// All of it in one text; empty if nobody is in it. Instead of next(), not beside it.
    QString wholeHtml();

private:
    CBaseReportServer& m_server;
    const ReportTexts m_texts;
    ReportData m_data;
    const SectionTemplate m_template;
    SectionTemplate m_before, m_within, m_behind;
    bool m_paged = false;
    bool m_wholeIsDue = false;
    QString m_head; // of all sheets but the first
    QList<SectionTemplate::Entry> m_users;
    int m_row = 0;
    int m_count = 0;
};

/// Has the helper program kyr_report_pdf render a report. Feeds it as fast as it takes what it is given, bounds what it
/// gives back, and ends it when it shows no sign of life for a while.
class ReportJob : public QObject
{
    Q_OBJECT

public:
    using Finished = IReportJobs::Finished;
    using Progress = IReportJobs::Progress;

    ReportJob(ISimpleAccessControl* model, const QString& templateText, const QList<CItemId>& userIds, QObject* parent);
    ~ReportJob() override;

    /// From the event loop; deletes itself after the end.
    void start(const Progress& progress, const Finished& finished);
    /// Without an event loop: waits. Empty if it failed, which was logged.
    QByteArray run();

    static constexpr int longestSilenceMs = 60000;

private:
    void begin();
    void feed(int budgetMs);
    void readWords();
    void readPdf();
    void onHelperEnded();
    void giveUp(const QString& reason);
    void end(const QByteArray& pdf, const QString& error);
    void tellFonts();

    CBaseReportServer m_server;
    const QString m_templateText;
    const QList<CItemId> m_userIds;
    std::unique_ptr<ReportSource> m_source;
    QProcess m_helper;
    QTimer m_silence;
    QTimer m_feeding;
    QElapsedTimer m_lastSign;
    QByteArray m_pdf;
    QByteArray m_words; // not yet a line
    QString m_reason;   // why the helper gave up, by its own words
    QStringList m_missingFonts;
    QString m_error;
    Progress m_progress;
    Finished m_finished;
    bool m_fed = false;
    bool m_ended = false;
};
