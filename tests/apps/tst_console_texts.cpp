#include "common/log_setup.h"
#include "common/spelling.h"
#include "shell/help_text.h"
#include "shell/table_text.h"
#include "shell/terminal.h"

#include <foundation/core/debug.h>

#include <QtTest/QtTest>

#include <clocale>
#include <ctime>

class tst_ConsoleTexts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // The system knows the width of characters in such a one alone.
    void initTestCase() { QVERIFY(std::setlocale(LC_ALL, "C.UTF-8")); }

    void tablesFitTheTerminal()
    {
        const QVector<TextColumn> events{
            {"Time", {"2026-11-22T03:10:00+01:00", "2026-11-22T23:10:00+01:00", ""}},
            {"Nothing", {"", "", ""}},
            {"Door", {"Main Entrance of the northern building", "B\u00fcro \u6f22\u5b57\u6f22\u5b57\u6f22\u5b57", "x"}},
            {"ms", {"1", "10", "100"}, true},
            {"Why", {"a reason that is rather long for a cell", "", "-"}}};
        // As it is where there is room, and in a pipe.
        QCOMPARE(alignedLines(events, false, 200), alignedLines(events, false, 0));
        QCOMPARE(alignedLines(events, false, 0).at(2).left(36), QString("2026-11-22T23:10:00+01:00           "));
        QCOMPARE(alignedLines(events, false, 60),
                 QStringList({"Time +01:00          Door               ms  Why",
                              "2026-11-22 03:10:00  Main Entrance o\u2026    1  a reason that i\u2026",
                              "2026-11-22 23:10:00  B\u00fcro \u6f22\u5b57\u6f22\u5b57\u6f22\u2026   10",
                              "                     x                 100  -"}));
        for (int columns = 1; columns < 90; ++columns) {
            for (const QString& line : alignedLines(events, false, columns))
                QVERIFY2(Terminal::width(line) <= columns, qPrintable(line));
        }
        // Times of two zones stay as they are.
        const QVector<TextColumn> zones{{"T", {"2026-10-25T02:10:00+02:00", "2026-10-25T02:10:00+01:00"}},
                                        {"Text", {QString(50, 'x'), "y"}}};
        QCOMPARE(alignedLines(zones, false, 60).at(2), QString("2026-10-25T02:10:00+01:00  y"));
        QVERIFY(alignedLines({}, false, 60).isEmpty());
        QCOMPARE(alignedLines({{"Id", {}}, {QString(40, 'x'), {}}}, false, 20),
                 QStringList("Id  xxxxxxxxxxxxxxx\u2026"));
        // What has no room is left out, and an ellipsis where it would stand.
        const QString wide(40, 'x');
        QCOMPARE(alignedLines({{"Id", {"1"}}, {"A", {wide}}, {"B", {wide}}, {"C", {wide}}}, false, 36),
                 QStringList({"Id  A              B               \u2026",
                              "1   xxxxxxxxxxxx\u2026  xxxxxxxxxxxxx\u2026  \u2026"}));
    }

    void logLinesHaveTheirDay()
    {
        CDebug::enableCircularBuffer(true);
        const auto cleanUp = qScopeGuard([zone = qgetenv("TZ")] {
            qputenv("TZ", zone);
            tzset();
            qInstallMessageHandler(nullptr);
            CDebug::enableCircularBuffer(false);
        });
        AppOptions options({}, "TST");
        addLogOptions(options, "WRN", "none");
        QVERIFY(options.parse({}) && applyLogOptions(options));
        const auto useZone = [](const char* zone) {
            qputenv("TZ", zone);
            tzset();
        };
        // These two are 26 hours apart.
        useZone("<-12>12");
        const QDate before = QDate::currentDate();
        qWarning("one\nmore");
        useZone("<+14>-14");
        qInfo("not written");
        qCritical("two");
        const QVector<LogLine> log = keptLog();
        QStringList texts;
        for (const LogLine& line : log)
            texts.append(line.level + ':' + line.text);
        const QDate after = QDate::currentDate();
        const QString day = "INF:A new day: " + after.toString(Qt::ISODate) + " after " + before.toString(Qt::ISODate);
        QCOMPARE(texts, QStringList({"WRN:one", ":more", day, "CRT:two"}));
        QCOMPARE(log.at(0).time.date(), before);
        QVERIFY(!log.at(1).time.isValid());
        QCOMPARE(log.at(2).time.date(), after);
        QCOMPARE(log.at(3).time.date(), after);
    }

    void helpIsWrapped()
    {
        const QStringList help{"Usage: x", "", "  --option N    what it is good for, in some words", "  -"};
        QCOMPARE(wrappedHelp(help, 0), help);
        QCOMPARE(wrappedHelp(help, 36), QStringList({"Usage: x", "", "  --option N    what it is good for,",
                                                     "                in some words", "  -"}));
        QCOMPARE(wrappedHelp(help, 20), help); // too narrow to be worth it
    }

    void meantWords()
    {
        const QStringList words{"users", "events", "log", "logins", "status", "media", "mail"};
        for (const auto& [word, meant] : {std::pair{"usres", "users"},
                                          {"user", "users"},
                                          {"evnets", "events"},
                                          {"lgo", "log"},
                                          {"stat", "status"},
                                          {"fly", ""},
                                          {"m", ""},
                                          {"", ""},
                                          {"loggins", "logins"},
                                          {"quite", ""}})
            QCOMPARE(meantWord(word, words), QString(meant));
    }
};

QTEST_GUILESS_MAIN(tst_ConsoleTexts)
#include "tst_console_texts.moc"
