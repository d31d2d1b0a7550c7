#include "page_breaks.h"

#include <QtGui/QAbstractTextDocumentLayout>
#include <QtGui/QTextBlock>
#include <QtGui/QTextDocument>
#include <QtGui/QTextFrame>
#include <QtGui/QTextTable>

#include <algorithm>
#include <vector>

using PageBreaks::Page;
using PageBreaks::Strip;

namespace {

// What is not cut: a line, or a row of a table.
struct Piece
{
    Strip strip;
    bool keepsWithNext = false;
    bool beginsPage = false;
    Strip header;             // of the table that it is a further row of
    std::vector<Strip> lines; // where it can be cut if it is higher than a page
};

class Collector
{
public:
    explicit Collector(const QTextDocument& document)
        : m_layout(document.documentLayout())
    {
        addFlow(document.rootFrame());
        for (Piece& piece : m_pieces) {
            std::sort(piece.lines.begin(), piece.lines.end(),
                      [](const Strip& a, const Strip& b) { return a.top < b.top; });
        }
    }

    const std::vector<Piece>& pieces() const { return m_pieces; }

private:
    void addFlow(QTextFrame* frame)
    {
        for (auto part = frame->begin(); !part.atEnd(); ++part) {
            if (auto* table = qobject_cast<QTextTable*>(part.currentFrame()))
                addTable(table);
            else if (part.currentFrame() != nullptr)
                addFlow(part.currentFrame());
            else
                addBlock(part.currentBlock());
        }
    }

    std::vector<Strip> linesOf(const QTextBlock& block) const
    {
        std::vector<Strip> lines;
        const qreal top = m_layout->blockBoundingRect(block).top();
        for (int i = 0; i < block.layout()->lineCount(); ++i) {
            const QRectF line = block.layout()->lineAt(i).rect();
            // Heights are rounded up, so that a line may begin within the one above.
            if (!lines.empty())
                lines.back().bottom = std::min(lines.back().bottom, top + line.top());
            lines.push_back({top + line.top(), top + line.bottom()});
        }
        return lines;
    }

    // The lines of a cell, those of tables within it, too.
    void addLines(std::vector<Strip>& lines, QTextFrame::iterator part) const
    {
        for (; !part.atEnd(); ++part) {
            if (part.currentFrame() != nullptr) {
                addLines(lines, part.currentFrame()->begin());
                continue;
            }
            const std::vector<Strip> further = linesOf(part.currentBlock());
            lines.insert(lines.end(), further.begin(), further.end());
        }
    }

    void addBlock(const QTextBlock& block)
    {
        const QTextBlockFormat format = block.blockFormat();
        const bool isHeading = format.headingLevel() > 0;
        const std::vector<Strip> lines = linesOf(block);
        for (size_t i = 0; i < lines.size(); ++i) {
            Piece piece;
            piece.strip = lines[i];
            piece.keepsWithNext =
                isHeading || (i + 1 < lines.size() && lines.size() > 2 && (i == 0 || i + 2 == lines.size()));
            piece.beginsPage =
                i == 0 && (m_breakNext || (format.pageBreakPolicy() & QTextFormat::PageBreak_AlwaysBefore));
            m_breakNext = false;
            m_pieces.push_back(piece);
        }
        m_breakNext = m_breakNext || (format.pageBreakPolicy() & QTextFormat::PageBreak_AlwaysAfter);
    }

    void addTable(QTextTable* table)
    {
        const QTextTableFormat format = table->format();
        const QRectF frame = m_layout->frameBoundingRect(table);
        const int rows = table->rows();
        std::vector<Piece> pieces(size_t(std::max(rows, 0)));
        std::vector<qreal> tops(pieces.size() + 1, frame.bottom());
        std::vector<bool> goesOn(pieces.size() + 1, false); // a cell spans this row and the one before
        for (int row = 0; row < rows; ++row) {
            for (int column = 0; column < table->columns(); ++column) {
                const QTextTableCell cell = table->cellAt(row, column);
                if (cell.column() != column)
                    continue;
                if (cell.row() != row) {
                    goesOn[size_t(row)] = true;
                    continue;
                }
                auto& lines = pieces[size_t(row)].lines;
                const size_t before = lines.size();
                addLines(lines, cell.begin());
                for (size_t i = before; i < lines.size(); ++i)
                    tops[size_t(row)] = std::min(tops[size_t(row)], lines[i].top - format.cellPadding());
            }
        }
        // A row without a text of its own has no height of its own.
        for (size_t row = pieces.size(); row-- > 0;)
            tops[row] = std::min(tops[row], tops[row + 1]);
        const int headers = std::min(format.headerRowCount(), rows);
        const Strip header = headers > 0 ? Strip{tops[0], tops[size_t(headers)]} : Strip();
        for (size_t row = 0; row < pieces.size(); ++row) {
            Piece& piece = pieces[row];
            const int body = rows - headers;
            piece.strip = {tops[row], tops[row + 1]};
            const bool isHeader = int(row) < headers;
            const bool isLastButOne = body > 2 && int(row) + 2 == rows;
            piece.keepsWithNext = isHeader || isLastButOne || goesOn[row + 1];
            piece.beginsPage =
                row == 0 && (m_breakNext || (format.pageBreakPolicy() & QTextFormat::PageBreak_AlwaysBefore));
            if (!isHeader)
                piece.header = header;
            m_pieces.push_back(std::move(piece));
        }
        m_breakNext = format.pageBreakPolicy() & QTextFormat::PageBreak_AlwaysAfter;
    }

    QAbstractTextDocumentLayout* m_layout;
    std::vector<Piece> m_pieces;
    bool m_breakNext = false;
};

// The last place at or above `limit` that cuts no line; `top` if there is none below that.
qreal cutBetweenLines(const std::vector<Strip>& lines, qreal top, qreal limit)
{
    qreal cut = limit;
    for (auto line = lines.rbegin(); line != lines.rend(); ++line) {
        if (line->top < cut && line->bottom > cut)
            cut = line->top;
    }
    return std::max(cut, top);
}

class Paginator
{
public:
    Paginator(const std::vector<Piece>& pieces, qreal height)
        : m_pieces(pieces)
        , m_height(height)
    {
    }

    QVector<Page> run()
    {
        size_t next = 0;
        size_t loose = 0; // the pieces before it belong to a group that no page can hold
        while (next < m_pieces.size()) {
            size_t last = next;
            while (next >= loose && last + 1 < m_pieces.size() && m_pieces[last].keepsWithNext
                   && !m_pieces[last + 1].beginsPage)
                ++last;
            if (m_pieces[next].beginsPage)
                m_open = false;
            const bool wasOpen = m_open;
            m_open = m_open && fits(next, last);
            if (fits(next, last)) {
                for (; next <= last; ++next)
                    put(m_pieces[next]);
            } else if (last > next) {
                m_open = wasOpen;
                loose = last + 1;
            } else {
                m_open = wasOpen;
                cut(m_pieces[next++]);
            }
        }
        return m_pages;
    }

private:
    // Whether the pieces can stand on the open page, or on a new one if none is.
    bool fits(size_t first, size_t last) const
    {
        const qreal bottom = m_pieces[last].strip.bottom;
        if (m_open)
            return bottom - m_pages.last().content.top + m_pages.last().repeated.height() <= m_height;
        return bottom - m_pieces[first].strip.top + repeatedFor(m_pieces[first]).height() <= m_height;
    }

    Strip repeatedFor(const Piece& piece) const
    {
        // Headings that fill half a page are not worth it.
        return piece.header.height() > m_height / 2 ? Strip() : piece.header;
    }

    void open(const Piece& piece, qreal top)
    {
        m_pages.append(Page{repeatedFor(piece), Strip{top, top}});
        m_open = true;
    }

    void put(const Piece& piece)
    {
        if (!m_open)
            open(piece, piece.strip.top);
        m_pages.last().content.bottom = std::max(m_pages.last().content.bottom, piece.strip.bottom);
    }

    // A piece that is higher than a page.
    void cut(const Piece& piece)
    {
        qreal top = piece.strip.top;
        if (m_open) {
            Page& page = m_pages.last();
            const qreal limit = page.content.top + m_height - page.repeated.height();
            // Down to the page's end, if at least a line of it has room there.
            const bool begins = !piece.lines.empty() && piece.lines.front().bottom <= limit;
            if (begins)
                page.content.bottom = top = cutBetweenLines(piece.lines, top, limit);
        }
        const qreal room = m_height - repeatedFor(piece).height();
        while (piece.strip.bottom - top > room) {
            open(piece, top);
            const qreal next = cutBetweenLines(piece.lines, top, top + room);
            top = next > top ? next : top + room;
            m_pages.last().content.bottom = top;
        }
        open(piece, top);
        m_pages.last().content.bottom = piece.strip.bottom;
    }

    const std::vector<Piece>& m_pieces;
    const qreal m_height;
    QVector<Page> m_pages;
    bool m_open = false;
};

} // namespace

QVector<Page> PageBreaks::of(const QTextDocument& document, qreal height)
{
    const Collector collector(document);
    QVector<Page> pages = Paginator(collector.pieces(), height).run();
    if (pages.isEmpty())
        pages.append(Page{Strip(), Strip{0, height}});
    return pages;
}
