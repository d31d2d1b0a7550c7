#pragma once

#include "report_sheets.h"

#include <QtCore/QObject>
#include <QtCore/QProcess>
#include <QtCore/QVector>

/// The helper program kyr_report_pdf, which renders for programs without a graphical application object: beside the
/// application, in "libexec/kyr" of the installation or in PATH; empty when it is nowhere.
QString reportHelperProgram();

/// Has it render sheets that are all there, while the event loop goes on. Deletes itself after the end; deleted before,
/// it gives the report up.
class ReportHelperRun : public QObject
{
    Q_OBJECT

public:
    /// Without a sign of life for so long the program is given up.
    static constexpr int longestSilenceMs = 60000;
    static constexpr qint64 largestPdf = qint64(512) * 1024 * 1024;

    ReportHelperRun(const ReportSheets::Setup& setup, const QVector<ReportSheets::Sheet>& sheets, QObject* parent);
    ~ReportHelperRun() override;

Q_SIGNALS:
    /// Once; `error` is empty on success, `pdf` otherwise.
    void finished(const QByteArray& pdf, const QString& error);

private:
    void onEnded();
    void end(const QByteArray& pdf, const QString& error);

    QProcess m_helper;
    QByteArray m_pdf;
    QByteArray m_words;
    bool m_isEnded = false;
};
