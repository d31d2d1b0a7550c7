// Reads the sheets of a report from standard input and writes it as PDF to standard output; what there is to tell goes
// to standard error, a line each, see report_sheets.h. For programs that have no graphical application object of their
// own, and for those that go on meanwhile.
#include "pdf_renderer.h"

#include <QtCore/QFile>
#include <QtGui/QGuiApplication>

#include <cstdio>

#ifdef __SANITIZE_ADDRESS__
// The offscreen platform keeps its screen at the end.
extern "C" Q_DECL_EXPORT int __lsan_is_turned_off()
{
    return 1;
}
#endif

namespace {

void tell(const char* word, const QString& about)
{
    std::fprintf(stderr, "%s %s\n", word, about.toUtf8().constData());
}

// Empty at the end, and for half a frame, which `whole` tells apart.
QByteArray nextFrame(QFile& in, bool& whole)
{
    const QByteArray length = in.read(ReportSheets::lengthBytes);
    whole = length.isEmpty();
    const quint32 size = ReportSheets::lengthOf(length);
    if (ReportSheets::isAbsurd(size))
        return {};
    const QByteArray frame = in.read(size);
    whole = quint32(frame.size()) == size;
    return whole ? frame : QByteArray();
}

bool run()
{
    QFile in;
    QFile out;
    if (!in.open(stdin, QIODevice::ReadOnly) || !out.open(stdout, QIODevice::WriteOnly))
        return false;
    bool whole = false;
    ReportSheets::Setup setup;
    if (!ReportSheets::decode(nextFrame(in, whole), setup)) {
        tell("error", QStringLiteral("the report plugin starts this program; it is not for use by hand"));
        return false;
    }
    PdfRenderer renderer(setup, tell);
    for (;;) {
        const QByteArray frame = nextFrame(in, whole);
        if (frame.isEmpty())
            break;
        ReportSheets::Sheet sheet;
        if (!ReportSheets::decode(frame, sheet) || !renderer.add(sheet))
            return false;
    }
    if (!whole) // whoever made the report has given it up
        return false;
    const QByteArray pdf = renderer.finish();
    return !pdf.isEmpty() && out.write(pdf) == pdf.size() && out.flush();
}

} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication app(argc, argv);
    return run() ? 0 : 1;
}
