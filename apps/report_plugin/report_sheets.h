#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <functional>

/// What the plugin gives whoever renders a report, in the process or in the helper program.
namespace ReportSheets {

/// What stands on each page.
struct Setup
{
    QString title;
    QString footer;
    QString pageText;      // "Page %1 of %2"
    QString fontDirectory; // whose fonts may be used, too; empty: none
};

/// A document of its own, in the report about one user or all of it; its pages are counted apart.
struct Sheet
{
    QString name; // at the head of its pages and in the list of bookmarks; empty: neither
    QString html;
};

/// What the renderer tells while it works: a word, and what it is about.
///
///     sheet 12                a further sheet is laid out; the number of those that are
///     missing-font NAME       the report asks for it, and the machine does not have it
///     missing-characters TEXT no font has them
///     error TEXT              there is no report, and why
using Tell = std::function<void(const char* word, const QString& about)>;

/// The helper program's standard input: the setup, then the sheets, each a length and so many bytes.
QByteArray encoded(const Setup& setup);
QByteArray encoded(const Sheet& sheet);
constexpr int lengthBytes = 4;
/// A length that no frame may have: 0 bytes, or more than 512 MiB.
bool isAbsurd(quint32 length);
quint32 lengthOf(const QByteArray& bytes);
bool decode(const QByteArray& frame, Setup& setup);
bool decode(const QByteArray& frame, Sheet& sheet);

} // namespace ReportSheets
