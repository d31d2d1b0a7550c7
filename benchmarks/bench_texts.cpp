// Quoted-printable, CSV and string templates.
#include <foundation/core/qt_compat_p.h>
#include <foundation/formats/csv_writer.h>
#include <foundation/formats/string_template.h>
#include <foundation/mail/quoted_printable.h>

#include <QtCore/QBuffer>
#include <QtCore/QTextStream>
#include <QtGui/QStandardItemModel>

#include <KCodecs>
#include <KMacroExpander>
#include <benchmark/benchmark.h>
#include <gmime/gmime.h>

namespace {

QByteArray mixedText(int size)
{
    const QByteArray paragraph =
        QByteArrayLiteral("Sehr geehrte Damen und Herren, die T\xc3\xbcr im Geb\xc3\xa4ude 3 ist wieder ge\xc3\xb6"
                          "ffnet = erledigt.\nA line of plain text that is longer than the seventy-six characters that "
                          "a line may have at "
                          "most.\n\xe2\x82\xac 12,50 f\xc3\xbcr den Schl\xc3\xbcssel \xf0\x9f\x94\x91\n");
    return paragraph.repeated(size / paragraph.size() + 1).left(size);
}

void quotedPrintableOurs(benchmark::State& state)
{
    const QByteArray text = mixedText(static_cast<int>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(CQuotedPrintable::getEncodedText(text, false));
}

void quotedPrintableGMime(benchmark::State& state)
{
    const QByteArray text = mixedText(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        GMimeEncoding encoding;
        g_mime_encoding_init_encode(&encoding, GMIME_CONTENT_ENCODING_QUOTEDPRINTABLE);
        const auto length = static_cast<size_t>(text.size());
        QByteArray out(static_cast<int>(g_mime_encoding_outlen(&encoding, length)), Qt::Uninitialized);
        const size_t written = g_mime_encoding_flush(&encoding, text.constData(), length, out.data());
        out.truncate(static_cast<int>(written));
        benchmark::DoNotOptimize(out);
    }
}

void quotedPrintableKCodecs(benchmark::State& state)
{
    const QByteArray text = mixedText(static_cast<int>(state.range(0)));
    for (auto _ : state)
        benchmark::DoNotOptimize(KCodecs::quotedPrintableEncode(text, true));
}

constexpr int csvColumns = 8;

void fill(QStandardItemModel& model, int rows)
{
    for (int row = 0; row < rows; ++row) {
        QList<QStandardItem*> items;
        for (int column = 0; column < csvColumns; ++column)
            items.append(new QStandardItem(QStringLiteral("cell %1 of row %2").arg(column).arg(row)));
        model.appendRow(items);
    }
}

void csvOurs(benchmark::State& state)
{
    QStandardItemModel model;
    fill(model, static_cast<int>(state.range(0)));
    CCsvWriter writer;
    writer.setModel(&model, QPersistentModelIndex());
    QList<int> columns;
    for (int column = 0; column < csvColumns; ++column)
        columns.append(column);
    writer.setColumns(columns);
    for (auto _ : state) {
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        writer.write(&buffer);
        benchmark::DoNotOptimize(buffer.size());
    }
}

void csvPlainLoop(benchmark::State& state)
{
    QStandardItemModel model;
    fill(model, static_cast<int>(state.range(0)));
    for (auto _ : state) {
        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        QTextStream out(&buffer);
        QtCompat::setUtf8(out);
        for (int row = 0; row < model.rowCount(); ++row) {
            for (int column = 0; column < csvColumns; ++column) {
                if (column > 0)
                    out << ';';
                out << model.index(row, column).data().toString();
            }
            out << '\n';
        }
        out.flush();
        benchmark::DoNotOptimize(buffer.size());
    }
}

// `size` bytes of text with a placeholder about every 50 characters.
QString templateText(int size)
{
    QString text;
    while (text.size() < size)
        text += QStringLiteral("The door in the hall of the north wing: $name; \n");
    return text;
}

void templateOurs(benchmark::State& state)
{
    CStringTemplate stringTemplate(templateText(static_cast<int>(state.range(0))));
    const QVariantMap values{{QStringLiteral("name"), QStringLiteral("Main Entrance")}};
    for (auto _ : state)
        benchmark::DoNotOptimize(stringTemplate.substitute(values));
}

// What one writes without a class for it: find each placeholder and replace it in place.
void templateReplace(benchmark::State& state)
{
    const QString text = templateText(static_cast<int>(state.range(0)));
    const QVariantMap values{{QStringLiteral("name"), QStringLiteral("Main Entrance")}};
    for (auto _ : state) {
        QString copy = text;
        for (auto from = copy.indexOf(QLatin1Char('$')); from >= 0; from = copy.indexOf(QLatin1Char('$'), from)) {
            auto end = from + 1;
            while (end < copy.size() && (copy[end].isLetterOrNumber() || copy[end] == QLatin1Char('_')))
                ++end;
            const QString value = values.value(copy.mid(from + 1, end - from - 1)).toString();
            copy.replace(from, end - from, value);
            from += value.size();
        }
        benchmark::DoNotOptimize(copy);
    }
}

void templateMacroExpander(benchmark::State& state)
{
    const QString text = templateText(static_cast<int>(state.range(0)));
    const QHash<QString, QString> values{{QStringLiteral("name"), QStringLiteral("Main Entrance")}};
    for (auto _ : state)
        benchmark::DoNotOptimize(KMacroExpander::expandMacros(text, values, QLatin1Char('$')));
}

} // namespace

BENCHMARK(quotedPrintableOurs)->Name("quoted_printable/ours")->Arg(1 << 20)->Arg(1 << 22)->Arg(1 << 24);
BENCHMARK(quotedPrintableGMime)->Name("quoted_printable/GMime")->Arg(1 << 20);
BENCHMARK(quotedPrintableKCodecs)->Name("quoted_printable/KCodecs")->Arg(1 << 20);
BENCHMARK(csvOurs)->Name("csv_write/ours")->Arg(25000)->Arg(100000)->Arg(400000)->Unit(benchmark::kMillisecond);
BENCHMARK(csvPlainLoop)
    ->Name("csv_write/plain loop")
    ->Arg(25000)
    ->Arg(100000)
    ->Arg(400000)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(templateOurs)->Name("template/ours")->Arg(10 << 10)->Arg(40 << 10)->Arg(160 << 10);
BENCHMARK(templateReplace)->Name("template/QString::replace")->Arg(10 << 10);
BENCHMARK(templateMacroExpander)->Name("template/KMacroExpander")->Arg(10 << 10);

int main(int argc, char** argv)
{
    g_mime_init();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
