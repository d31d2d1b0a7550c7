#include "pdf_renderer.h"

#include "page_breaks.h"

#include <QtCore/QDir>
#include <QtGui/QAbstractTextDocumentLayout>
#include <QtGui/QFontDatabase>
#include <QtGui/QFontInfo>
#include <QtGui/QGlyphRun>
#include <QtGui/QPageLayout>
#include <QtGui/QPainter>
#include <QtGui/QPdfWriter>
#include <QtGui/QRawFont>
#include <QtGui/QTextBlock>
#include <QtGui/QTextDocument>
#include <QtGui/QTextLayout>

#include <algorithm>

namespace {

constexpr int resolution = 300; // dots per inch
constexpr qreal sideMm = 20;
constexpr qreal topMm = 14;
constexpr qreal bottomMm = 12;
constexpr qreal headerMm = 13; // of the text area's height
constexpr qreal footerMm = 11;
constexpr qreal ruleMm = 7;     // from the top
constexpr qreal highest = 30e6; // what the coordinates of a text document reach
constexpr int mostCharactersTold = 20;
constexpr int longestBookmark = 100;
const QColor grey(0x6a, 0x76, 0x83);

qreal dots(qreal millimetres)
{
    return millimetres / 25.4 * resolution;
}

QFont frameFont()
{
    QFont font(QStringLiteral("DejaVu Sans"));
    font.setPointSizeF(8);
    return font;
}

// Not what any font stands for, and not what the style sheets of a template leave open.
bool isGeneric(const QString& family)
{
    static const char* const generic[] = {"serif", "sans-serif", "monospace", "cursive", "fantasy", "sans serif"};
    return family.isEmpty() || std::any_of(std::begin(generic), std::end(generic), [&](const char* name) {
               return family.compare(QLatin1String(name), Qt::CaseInsensitive) == 0;
           });
}

bool hasGlyphs(const QString& text, const QFont& font)
{
    QTextLayout layout(text, font);
    layout.beginLayout();
    layout.createLine();
    layout.endLayout();
    const QList<QGlyphRun> runs = layout.glyphRuns();
    return !runs.isEmpty() && std::all_of(runs.cbegin(), runs.cend(), [](const QGlyphRun& run) {
        // The boxes that stand in for a missing font have no tables. (Their name Qt 6 must not be asked for.)
        return !run.rawFont().fontTable("head").isEmpty() && !run.glyphIndexes().contains(0);
    });
}

} // namespace

PdfRenderer::PdfRenderer(const ReportSheets::Setup& setup, ReportSheets::Tell tell)
    : m_setup(setup)
    , m_tell(std::move(tell))
{
    if (!setup.fontDirectory.isEmpty()) {
        const QDir directory(setup.fontDirectory);
        const QStringList files = directory.entryList(
            {QStringLiteral("*.ttf"), QStringLiteral("*.otf"), QStringLiteral("*.ttc")}, QDir::Files, QDir::Name);
        for (const QString& file : files)
            QFontDatabase::addApplicationFont(directory.absoluteFilePath(file));
    }
    m_buffer.open(QIODevice::WriteOnly);
    m_writer = std::make_unique<QPdfWriter>(&m_buffer);
    m_writer->setResolution(resolution);
    m_writer->setPageLayout(QPageLayout(QPageSize(QPageSize::A4), QPageLayout::Portrait,
                                        QMarginsF(sideMm, topMm, sideMm, bottomMm), QPageLayout::Millimeter));
    m_writer->setTitle(setup.title);
    m_writer->setCreator(setup.footer);
}

PdfRenderer::~PdfRenderer() = default;

bool PdfRenderer::add(const ReportSheets::Sheet& sheet)
{
    if (!hasGlyphs(QStringLiteral("A"), frameFont())) {
        m_tell("missing-font", frameFont().family());
        m_tell("error", QStringLiteral("no usable font is installed"));
        return false;
    }
    const QSizeF area(m_writer->width(), m_writer->height() - dots(headerMm) - dots(footerMm));
    QTextDocument document;
    document.setUndoRedoEnabled(false);
    document.documentLayout()->setPaintDevice(m_writer.get());
    document.setDocumentMargin(0);
    document.setHtml(sheet.html);
    document.setTextWidth(area.width());
    if (document.size().height() > highest || document.size().height() < 0) {
        m_tell("error", QStringLiteral("the report is too long for one document"));
        return false;
    }
    lookAtFonts(document);
    lookAtCharacters(document);
    if (m_setup.title.isEmpty())
        m_writer->setTitle(document.metaInformation(QTextDocument::DocumentTitle));
    if (!m_painter)
        m_painter = std::make_unique<QPainter>(m_writer.get());

    if (!sheet.name.isEmpty())
        m_bookmarks.append({sheet.name.left(longestBookmark), m_pages});
    const QVector<PageBreaks::Page> pages = PageBreaks::of(document, area.height());
    for (int i = 0; i < pages.size(); ++i) {
        if (m_pages++ > 0)
            m_writer->newPage();
        const auto draw = [&](const PageBreaks::Strip& strip, qreal y) {
            if (strip.height() <= 0)
                return;
            m_painter->save();
            m_painter->translate(0, y - strip.top);
            QAbstractTextDocumentLayout::PaintContext context;
            context.clip = QRectF(0, strip.top, area.width(), strip.height());
            context.palette.setColor(QPalette::Text, Qt::black);
            m_painter->setClipRect(context.clip);
            document.documentLayout()->draw(m_painter.get(), context);
            m_painter->restore();
        };
        draw(pages[i].repeated, dots(headerMm));
        draw(pages[i].content, dots(headerMm) + pages[i].repeated.height());
        drawFrame(sheet.name, i + 1, int(pages.size()));
    }
    m_tell("sheet", QString::number(++m_sheets));
    return true;
}

QByteArray PdfRenderer::finish()
{
    if (!m_painter)
        return {};
    m_painter.reset();
    m_writer.reset();
    return PdfOutline::added(m_buffer.data(), m_bookmarks);
}

// Head and foot of a page.
void PdfRenderer::drawFrame(const QString& name, int page, int pages)
{
    const qreal width = m_writer->width();
    const qreal height = m_writer->height();
    QFont font = frameFont();
    m_painter->setFont(font);
    m_painter->setPen(grey);
    const QRectF head(0, 0, width, dots(ruleMm - 1.5));
    const QRectF foot(0, height - dots(footerMm), width, dots(footerMm));
    const auto write = [&](const QRectF& where, int alignment, const QString& text) {
        const QFontMetricsF metrics(m_painter->font(), m_writer.get());
        m_painter->drawText(where, alignment | Qt::TextSingleLine,
                            metrics.elidedText(text, Qt::ElideRight, width * 0.62));
    };
    if (!name.isEmpty()) {
        write(head, Qt::AlignRight | Qt::AlignBottom, m_setup.title);
        write(foot, Qt::AlignLeft | Qt::AlignBottom, m_setup.footer);
        font.setBold(true);
        m_painter->setFont(font);
        write(head, Qt::AlignLeft | Qt::AlignBottom, name);
        m_painter->setPen(QPen(QColor(0xc4, 0xcd, 0xd6), dots(0.2)));
        m_painter->drawLine(QPointF(0, dots(ruleMm)), QPointF(width, dots(ruleMm)));
        font.setBold(false);
        m_painter->setFont(font);
        m_painter->setPen(grey);
    } else {
        write(foot, Qt::AlignLeft | Qt::AlignBottom, m_setup.footer);
    }
    write(foot, Qt::AlignRight | Qt::AlignBottom, m_setup.pageText.arg(page).arg(pages));
}

// The first family that each text asks for.
void PdfRenderer::lookAtFonts(const QTextDocument& document)
{
    const QVector<QTextFormat> formats = document.allFormats();
    for (const QTextFormat& format : formats) {
        const QStringList families = format.property(QTextFormat::FontFamilies).toStringList();
        if (!format.isCharFormat() || families.isEmpty())
            continue;
        const QString family = families.constFirst().section(QLatin1Char(','), 0, 0).trimmed();
        if (isGeneric(family) || m_seenFonts.contains(family))
            continue;
        m_seenFonts.insert(family);
        if (QFontInfo(QFont(family)).family().compare(family, Qt::CaseInsensitive) != 0)
            m_tell("missing-font", family);
    }
}

void PdfRenderer::lookAtCharacters(const QTextDocument& document)
{
    QString missing;
    int told = 0;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        const QVector<uint> characters = block.text().toUcs4();
        for (const uint character : characters) {
            if (character <= 0x7E || m_seenCharacters.contains(character))
                continue;
            m_seenCharacters.insert(character);
            const char32_t code = character;
            const QString text = QString::fromUcs4(&code, 1);
            // Blanks, marks and what only formats have no shape of their own.
            const bool visible =
                QChar::isLetterOrNumber(character) || QChar::isPunct(character) || QChar::isSymbol(character);
            if (visible && told < mostCharactersTold && !hasGlyphs(text, frameFont())) {
                missing += text;
                ++told;
            }
        }
    }
    if (!missing.isEmpty())
        m_tell("missing-characters", missing);
}
