#include "pdf_outline.h"

#include <QtCore/QList>

namespace {

// "<FEFF0041>", which is how a PDF holds any text.
QByteArray hexText(const QString& text)
{
    QByteArray hex("<FEFF");
    hex.reserve(6 + 4 * text.size());
    for (const QChar c : text)
        hex += QByteArray::number(c.unicode(), 16).rightJustified(4, '0');
    return hex + '>';
}

// Reads what an update has to know of the document.
class Reader
{
public:
    explicit Reader(const QByteArray& pdf)
        : m_pdf(pdf)
    {
        const int startMark = int(pdf.lastIndexOf("startxref"));
        const int trailer = int(pdf.lastIndexOf("trailer"));
        if (startMark < 0 || trailer < 0 || trailer > startMark)
            return;
        m_trailer = pdf.mid(trailer, startMark - trailer);
        startXref = pdf.mid(startMark + 9, 24).trimmed().split('\n').first().trimmed().toInt();
        const int table = int(pdf.indexOf('\n', startXref) + 1); // behind "xref"
        m_entries = int(pdf.indexOf('\n', table) + 1);           // behind "0 45"
        size = number(m_trailer, "/Size ");
        root = number(m_trailer, "/Root ");
        info = number(m_trailer, "/Info ");
    }

    // The dictionary of an object, between its "<<" and ">>"; empty if it is not there.
    QByteArray dictionary(int object) const
    {
        constexpr int entryLength = 20;
        if (object <= 0 || object >= size || m_entries <= 0)
            return {};
        const int offset = m_pdf.mid(m_entries + object * entryLength, 10).toInt();
        const int end = int(m_pdf.indexOf("endobj", offset));
        const QByteArray expected = QByteArray::number(object) + " 0 obj";
        if (offset <= 0 || end < 0 || m_pdf.mid(offset, expected.size()) != expected)
            return {};
        const QByteArray text = m_pdf.mid(offset, end - offset);
        const int open = int(text.indexOf("<<"));
        const int close = int(text.lastIndexOf(">>"));
        return open < 0 || close < open ? QByteArray() : text.mid(open + 2, close - open - 2);
    }

    static int number(const QByteArray& dictionary, const char* key)
    {
        const int begin = int(dictionary.indexOf(key));
        return begin < 0 ? 0 : dictionary.mid(begin + int(qstrlen(key)), 12).simplified().split(' ').first().toInt();
    }

    QVector<int> pages(const QByteArray& catalog) const
    {
        const QByteArray tree = dictionary(number(catalog, "/Pages "));
        const int open = int(tree.indexOf('[', tree.indexOf("/Kids")));
        const int close = int(tree.indexOf(']', open));
        QVector<int> result;
        if (open < 0 || close < 0)
            return result;
        const QList<QByteArray> words = tree.mid(open + 1, close - open - 1).simplified().split(' ');
        for (int i = 0; i + 2 < words.size(); i += 3)
            result.append(words[i].toInt());
        return result;
    }

    int startXref = 0;
    int size = 0; // of the table of references
    int root = 0;
    int info = 0;

private:
    const QByteArray& m_pdf;
    QByteArray m_trailer;
    int m_entries = 0;
};

} // namespace

QByteArray PdfOutline::added(const QByteArray& pdf, const QVector<Bookmark>& bookmarks)
{
    const Reader reader(pdf);
    const QByteArray catalog = reader.dictionary(reader.root);
    const QVector<int> pages = reader.pages(catalog);
    if (bookmarks.isEmpty() || pages.isEmpty() || bookmarks.last().page >= pages.size())
        return pdf;

    QByteArray result = pdf;
    if (!result.endsWith('\n'))
        result += '\n';
    QByteArray references;
    const auto begin = [&](int object) {
        references += QByteArray::number(result.size()).rightJustified(10, '0') + " 00000 n \n";
        result += QByteArray::number(object) + " 0 obj\n<<";
    };
    const auto reference = [](const char* key, int object) -> QByteArray {
        return QByteArray("\n") + key + ' ' + QByteArray::number(object) + " 0 R";
    };
    const int outlines = reader.size;
    const int first = outlines + 1;
    const int count = int(bookmarks.size());

    begin(reader.root);
    result += catalog + reference("/Outlines", outlines) + "\n/PageMode /UseOutlines\n>>\nendobj\n";
    begin(outlines);
    result += "\n/Type /Outlines" + reference("/First", first) + reference("/Last", first + count - 1) + "\n/Count "
              + QByteArray::number(count) + "\n>>\nendobj\n";
    for (int i = 0; i < count; ++i) {
        begin(first + i);
        result += "\n/Title " + hexText(bookmarks[i].text) + reference("/Parent", outlines);
        if (i > 0)
            result += reference("/Prev", first + i - 1);
        if (i + 1 < count)
            result += reference("/Next", first + i + 1);
        result +=
            "\n/Dest [" + QByteArray::number(pages[bookmarks[i].page]) + " 0 R /XYZ null null null]\n>>\nendobj\n";
    }
    const int table = int(result.size());
    constexpr int entryLength = 20;
    result += "xref\n" + QByteArray::number(reader.root) + " 1\n" + references.left(entryLength)
              + QByteArray::number(outlines) + ' ' + QByteArray::number(count + 1) + '\n' + references.mid(entryLength)
              + "trailer\n<<\n/Size " + QByteArray::number(first + count) + reference("/Root", reader.root);
    if (reader.info > 0)
        result += reference("/Info", reader.info);
    return result + "\n/Prev " + QByteArray::number(reader.startXref) + "\n>>\nstartxref\n" + QByteArray::number(table)
           + "\n%%EOF\n";
}
