// Reads a report as HTML from standard input and writes it as PDF to standard output; the argument is the text at the
// foot of each page. For programs that have no graphical application object of their own.
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

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication app(argc, argv);
    QFile in;
    QFile out;
    if (!in.open(stdin, QIODevice::ReadOnly) || !out.open(stdout, QIODevice::WriteOnly))
        return 1;
    const QByteArray pdf = PdfRenderer::render(QString::fromUtf8(in.readAll()), app.arguments().value(1));
    return out.write(pdf) == pdf.size() && out.flush() ? 0 : 1;
}
