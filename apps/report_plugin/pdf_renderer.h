#pragma once

#include "pdf_outline.h"
#include "report_sheets.h"

#include <QtCore/QBuffer>
#include <QtCore/QSet>
#include <QtCore/QStringList>

#include <memory>

class QPainter;
class QPdfWriter;
class QTextDocument;

/// Makes a PDF of A4 pages of sheets, one after the other. On each page stand the sheet's name and the report's title
/// at the head, its footer and the number at the foot. Needs a QGuiApplication; the offscreen platform will do.
///
///     PdfRenderer renderer(setup, tell);
///     for (const ReportSheets::Sheet& sheet : sheets)
///         renderer.add(sheet);
///     const QByteArray pdf = renderer.finish();
class PdfRenderer
{
public:
    PdfRenderer(const ReportSheets::Setup& setup, ReportSheets::Tell tell);
    ~PdfRenderer();

    /// False when there can be no report, which has been told with the reason.
    bool add(const ReportSheets::Sheet& sheet);
    QByteArray finish();

private:
    void lookAtFonts(const QTextDocument& document);
    void lookAtCharacters(const QTextDocument& document);
    void drawFrame(const QString& name, int page, int pages);

    const ReportSheets::Setup m_setup;
    const ReportSheets::Tell m_tell;
    QBuffer m_buffer;
    std::unique_ptr<QPdfWriter> m_writer;
    std::unique_ptr<QPainter> m_painter;
    QVector<PdfOutline::Bookmark> m_bookmarks;
    QSet<uint> m_seenCharacters;
    QSet<QString> m_seenFonts;
    int m_pages = 0;
    int m_sheets = 0;
};
