#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QVector>

/// Bookmarks for a PDF document.
namespace PdfOutline {

struct Bookmark
{
    QString text;
    int page; // from 0
};

/// The document with bookmarks added behind its end, as an update of it. A document of a form that this does not know
/// stays without them: Qt's writer puts one list of pages and one table of references into it.
QByteArray added(const QByteArray& pdf, const QVector<Bookmark>& bookmarks);

} // namespace PdfOutline
