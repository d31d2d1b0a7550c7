#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

namespace PdfRenderer {

/// The HTML text as a PDF document of A4 pages, its title and "Page 1 of 2" at the foot of each. Needs a
/// QGuiApplication; the offscreen platform will do.
QByteArray render(const QString& html, const QString& footer);

} // namespace PdfRenderer
