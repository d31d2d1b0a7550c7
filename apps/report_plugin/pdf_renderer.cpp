#include "pdf_renderer.h"

#include <QtCore/QBuffer>
#include <QtGui/QAbstractTextDocumentLayout>
#include <QtGui/QPageLayout>
#include <QtGui/QPainter>
#include <QtGui/QPdfWriter>
#include <QtGui/QTextDocument>

namespace {

constexpr int resolution = 300; // dots per inch
constexpr qreal marginMm = 20;
constexpr qreal footerMm = 10; // of the text area's height

qreal dots(qreal millimetres)
{
    return millimetres / 25.4 * resolution;
}

} // namespace

QByteArray PdfRenderer::render(const QString& html, const QString& footer)
{
    QByteArray pdf;
    QBuffer buffer(&pdf);
    buffer.open(QIODevice::WriteOnly);
    {
        QTextDocument document;
        document.setHtml(html);
        QPdfWriter writer(&buffer);
        writer.setResolution(resolution);
        writer.setPageLayout(QPageLayout(QPageSize(QPageSize::A4), QPageLayout::Portrait,
                                         QMarginsF(marginMm, marginMm, marginMm, marginMm), QPageLayout::Millimeter));
        writer.setTitle(document.metaInformation(QTextDocument::DocumentTitle));
        writer.setCreator(footer);

        const QSizeF area(writer.width(), writer.height() - dots(footerMm));
        document.documentLayout()->setPaintDevice(&writer);
        document.setDocumentMargin(0);
        document.setPageSize(area);

        QPainter painter(&writer);
        QFont font = document.defaultFont();
        font.setFamily(QStringLiteral("DejaVu Sans"));
        font.setPointSizeF(8);
        const int pages = document.pageCount();
        for (int page = 0; page < pages; ++page) {
            if (page > 0)
                writer.newPage();
            painter.save();
            painter.translate(0, -page * area.height());
            QAbstractTextDocumentLayout::PaintContext context;
            context.clip = QRectF(0, page * area.height(), area.width(), area.height());
            context.palette.setColor(QPalette::Text, Qt::black);
            painter.setClipRect(context.clip);
            document.documentLayout()->draw(&painter, context);
            painter.restore();

            const QRectF foot(0, area.height(), area.width(), dots(footerMm));
            painter.setFont(font);
            painter.setPen(QColor(0x6a, 0x76, 0x83));
            painter.drawText(foot, Qt::AlignLeft | Qt::AlignBottom, footer);
            painter.drawText(foot, Qt::AlignRight | Qt::AlignBottom,
                             QStringLiteral("Page %1 of %2").arg(page + 1).arg(pages));
        }
    }
    return pdf;
}
