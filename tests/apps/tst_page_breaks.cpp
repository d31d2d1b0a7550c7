#include "report_plugin/page_breaks.h"

#include <QtGui/QAbstractTextDocumentLayout>
#include <QtGui/QGuiApplication>
#include <QtGui/QTextBlock>
#include <QtGui/QTextDocument>
#include <QtGui/QTextLayout>
#include <QtTest/QtTest>

#ifdef __SANITIZE_ADDRESS__
// The offscreen platform keeps its screen at the end.
extern "C" Q_DECL_EXPORT int __lsan_is_turned_off()
{
    return 1;
}
#endif

// Whatever a document holds, its pages show all of it, each line whole and once.
class TestPageBreaks : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void pages_data()
    {
        QTest::addColumn<QString>("html");
        QTest::addColumn<int>("headings"); // of tables, repeated
        const auto rows = [](int count, const QString& cell) {
            QStringList table{"<table width='100%' cellpadding='5'><thead><tr><th>Heading</th><th>X</th></tr></thead>"};
            for (int i = 0; i < count; ++i)
                table.append(QString("<tr><td>%1 %2</td><td>x</td></tr>").arg(i).arg(cell));
            return QString(table.join(QString()) + "</table>");
        };
        const QString section = "<p>text</p><h4>Heading</h4>" + rows(3, "short");
        const QString name = "<h1>" + QString("Word ").repeated(2000) + "</h1>";
        QTest::newRow("rows") << "<h4>Heading</h4>" + rows(200, "a row of more than one line, " + QString(200, 'x'))
                              << 1;
        QTest::newRow("sections") << section.repeated(40) << 1;
        QTest::newRow("paragraphs") << QString("<p>" + QString("word ").repeated(150) + "</p>").repeated(30) << 0;
        QTest::newRow("a row above a page") << rows(3, QString("word ").repeated(4000)) << 1;
        QTest::newRow("a heading above a page") << name + "<h4>Heading</h4>" + rows(100, "short") << 1;
        QTest::newRow("nested") << "<table border='1'><tr><td>" + rows(100, "inner") + "</td><td>b</td></tr></table>"
                                << 0;
        QTest::newRow("spanning") << "<table><tr><td rowspan='60'>a</td><td>b</td></tr>"
                                         + QString("<tr><td>c</td></tr>").repeated(59) + "</table>"
                                  << 0;
        QTest::newRow("nothing") << "" << 0;
    }

    void pages()
    {
        QFETCH(QString, html);
        QFETCH(int, headings);
        constexpr qreal height = 700;
        constexpr qreal rounding = 1.01; // of the heights of lines
        QTextDocument document;
        document.setHtml(html);
        document.setTextWidth(500);
        const auto pages = PageBreaks::of(document, height);

        int repeated = 0;
        for (int i = 0; i < pages.size(); ++i) {
            QVERIFY(pages[i].content.height() + pages[i].repeated.height() <= height + 0.01);
            QVERIFY(i == 0 || pages[i].content.top >= pages[i - 1].content.bottom);
            repeated += pages[i].repeated.height() > 0 ? 1 : 0;
        }
        QCOMPARE(repeated > 0, headings > 0);
        int page = 0;
        const bool isNested = QByteArray(QTest::currentDataTag()) == "nested";
        for (QTextBlock block = document.begin(); block.isValid() && !isNested; block = block.next()) {
            const qreal top = document.documentLayout()->blockBoundingRect(block).top();
            bool isWhole = true;
            for (int i = 0; i < block.layout()->lineCount(); ++i) {
                const QRectF line = block.layout()->lineAt(i).rect().translated(0, top);
                isWhole = false;
                for (page = 0; page < pages.size() && !isWhole; ++page) {
                    isWhole = line.top() >= pages[page].content.top - 0.01
                              && line.bottom() <= pages[page].content.bottom + rounding;
                }
                QVERIFY2(isWhole, qPrintable(block.text().left(40)));
            }
            // What a heading is over stands below it.
            if (block.blockFormat().headingLevel() == 4 && page > 0 && isWhole) {
                const qreal next = document.documentLayout()->blockBoundingRect(block.next()).bottom();
                QVERIFY(next <= pages[page - 1].content.bottom + 0.01);
            }
        }
        QVERIFY2(pages.size() < document.size().height() / height * 1.4 + 2, qPrintable(QString::number(pages.size())));
    }
};

int main(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    TestPageBreaks test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_page_breaks.moc"
