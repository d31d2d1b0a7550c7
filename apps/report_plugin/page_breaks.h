#pragma once

#include <QtCore/QRectF>
#include <QtCore/QVector>

class QTextDocument;

/// Where the pages of a document end that was laid out as one endless page: between lines and between rows of tables,
/// not behind a heading, and not so that a single line or row is left alone. The heading rows of a table are repeated
/// where its rows go on.
namespace PageBreaks {

/// A horizontal strip of the document.
struct Strip
{
    qreal top = 0;
    qreal bottom = 0;
    qreal height() const { return bottom - top; }
};

struct Page
{
    Strip repeated; // a table's heading rows, above the rest; of no height when there are none
    Strip content;
};

/// The pages of a document, each at most `height` high, in the units of its layout.
QVector<Page> of(const QTextDocument& document, qreal height);

} // namespace PageBreaks
