#include <foundation/core/circular_log_buffer.h>
#include <foundation/core/debug.h>

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QRandomGenerator>
#include <QtCore/QStringListModel>
#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

#include <csignal>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>
#include <vector>

class tst_Debug : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QVERIFY(m_folder.isValid());
        m_file = m_folder.filePath("log");
        QVERIFY(CDebug::setMessageOutputFile(m_file));
        CDebug::setLogLevel(4);
        qInstallMessageHandler(CDebug::messageOutput);
    }

    void cleanup()
    {
        qInstallMessageHandler(nullptr);
        CDebug::enableCircularBuffer(false);
        CDebug::setMessageOutputFile("stderr");
    }

    void levels()
    {
        QByteArray expected;
        for (const int level : {5, 4, 3, 0, std::numeric_limits<int>::min()}) {
            CDebug::setLogLevel(level);
            for (const int type : {QtDebugMsg, QtInfoMsg, QtWarningMsg, QtCriticalMsg, QtFatalMsg, QtMsgType(7)})
                CDebug::messageOutput(static_cast<QtMsgType>(type), QMessageLogContext(), QString());
            expected += level >= 5 ? "DBG " : "";
            expected += level >= 4 ? "INF " : "";
            expected += level >= 3 ? "WRN CRT FTL UNK " : "CRT FTL UNK ";
        }
        QByteArray tags;
        for (const QByteArray& line : written().split('\n'))
            tags += line.mid(13);
        QCOMPARE(tags, expected);

        const QVector<std::tuple<const char*, int, bool>> texts{
            {"DBG", 5, true}, {"INF", 4, true},  {"WRN", 3, true},  {"CRT", 2, true}, {"FTL", 1, true},
            {"-1", -1, true}, {"wrn", 0, false}, {"UNK", 0, false}, {"", 0, false},   {"0x3", 0, false}};
        for (const auto& [text, level, good] : texts) {
            bool ok = !good;
            QCOMPARE(CDebug::logLevelStringToInt(text, &ok), level);
            QCOMPARE(ok, good);
            QCOMPARE(CDebug::logLevelStringToInt(text), level);
        }
    }

    void linesAsTheyAreWritten()
    {
        CDebug::enableCircularBuffer(true);
        const QTime before = QTime::currentTime();
        const QString longText = QString(3000, 'x') + "\u00e4\U0001F511";
        qWarning("one\ntwo");
        qInfo("%s", qUtf8Printable(longText));
        CDebug::messageOutput(QtInfoMsg, QMessageLogContext(), QString::fromUtf8("cut\0off", 7));
        const QTime after = QTime::currentTime();

        const QByteArray lines = written();
        const QTime time = QTime::fromString(QString::fromUtf8(lines.left(12)), "HH:mm:ss.zzz");
        QVERIFY(time.isValid());
        if (before <= after) // not around midnight
            QVERIFY2(before <= time && time <= after, lines.left(12).constData());
        QCOMPARE(lines.mid(12, 13), QByteArray(" WRN one\ntwo\n"));
        QCOMPARE(lines.mid(25 + 12, 5 + longText.toUtf8().size() + 1), " INF " + longText.toUtf8() + '\n');
        QCOMPARE(lines.right(9), QByteArray(" INF cut\n"));

        // The ring buffer has the same lines, and what followed the NUL.
        QCOMPARE(CCircularLogBuffer::getInstanceUsedAsMessageHandler()->readAll(), lines + "off\n");
    }

    void jsonLines()
    {
        CDebug::enableCircularBuffer(true);
        CDebug::setJsonLines(true);
        {
            const CLogFields outer({{"device", "000.123.457"}, {"peer", "outer"}, {"level", "no"}});
            const CLogFields inner({{"peer", "::1"}});
            qWarning("a \"quoted\"\nline \u00e4");
        }
        qInfo("plain");
        CDebug::setJsonLines(false);
        const QList<QByteArray> lines = written().split('\n');
        QCOMPARE(lines.size(), 3);
        QJsonObject first = QJsonDocument::fromJson(lines.at(0)).object();
        const QDateTime time = QDateTime::fromString(first.take("time").toString(), Qt::ISODateWithMs);
        QVERIFY(qAbs(time.secsTo(QDateTime::currentDateTime())) < 60);
        QCOMPARE(first, QJsonObject({{"device", "000.123.457"},
                                     {"peer", "::1"},
                                     {"level", "WRN"},
                                     {"text", QString::fromUtf8("a \"quoted\"\nline \u00e4")}}));
        QCOMPARE(QJsonDocument::fromJson(lines.at(1)).object().size(), 3);
        // What the command "log" reads stays text.
        QVERIFY(CCircularLogBuffer::getInstanceUsedAsMessageHandler()->readAll().contains(" INF plain\n"));
    }

    void followsTheZone()
    {
        const QByteArray zone = qgetenv("TZ");
        qputenv("TZ", "XXX-05:30");
        const auto isLocal = [this] {
            CDebug::setMessageOutputFile(m_file);
            qInfo(" ");
            const QDateTime local = QDateTime::currentDateTimeUtc().addSecs(19800);
            return written().startsWith(local.toString("HH:mm").toUtf8());
        };
        QTRY_VERIFY(isLocal());
        zone.isNull() ? qunsetenv("TZ") : qputenv("TZ", zone);
    }

    void choosesTheOutput()
    {
        qInfo("first");
        QVERIFY(CDebug::setMessageOutputFile(">>" + m_file));
        qInfo("second");
        QCOMPARE(written().count('\n'), 2);
        QVERIFY(CDebug::setMessageOutputFile(m_file));
        QVERIFY(written().isEmpty());

        CDebug::enableCircularBuffer(true);
        QVERIFY(CDebug::setMessageOutputFile("none"));
        qInfo("nowhere");
        CDebug::enableCircularBuffer(true); // keeps what is there
        QVERIFY(CCircularLogBuffer::getInstanceUsedAsMessageHandler()->readAll().endsWith(" INF nowhere\n"));
        QVERIFY(written().isEmpty());

        for (const char* name : {"stdout", "-", ">>stderr", "stderr"})
            QVERIFY(CDebug::setMessageOutputFile(name));
        for (const int kept : {1, 2}) {
            const int copy = ::dup(kept);
            QVERIFY(copy >= 0 && ::close(copy) == 0);
        }
        QVERIFY(!CDebug::setMessageOutputFile(">>"));
        QVERIFY(!CDebug::setMessageOutputFile(m_folder.path()));
        QVERIFY(CDebug::setMessageOutputFile("none"));
        QVERIFY(CCircularLogBuffer::getInstanceUsedAsMessageHandler()->readAll().endsWith(
            QByteArray(" WRN Debug: Could not open message output file " + m_folder.path().toUtf8() + '\n')));
    }

    // A file that must not grow stands for a full disk.
    void linesWithoutRoom()
    {
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit unlimited{};
        QCOMPARE(::getrlimit(RLIMIT_FSIZE, &unlimited), 0);
        for (const bool append : {false, true}) {
            QVERIFY(CDebug::setMessageOutputFile((append ? ">>" : "") + m_file));
            for (const int room : {0, 0, 20, 17}) {
                qInfo("there");
                const rlimit limit{rlim_t(QFileInfo(m_file).size() + room), unlimited.rlim_max};
                QCOMPARE(::setrlimit(RLIMIT_FSIZE, &limit), 0);
                qInfo("cut");
                qInfo("lost");
                QCOMPARE(::setrlimit(RLIMIT_FSIZE, &unlimited), 0);
            }
            qInfo("end");
        }
        QByteArray texts;
        for (const QByteArray& line : written().split('\n'))
            texts += line.mid(17) + '|';
        QCOMPARE(texts, QByteArray("there|there|there|cut|there||end|").repeated(2) + '|');
    }

    void manyThreadsLoseNoLine()
    {
        constexpr int threads = 8;
        constexpr int lines = 500;
        std::vector<std::thread> running; // the thread sanitizer sees into these, not into Qt's
        for (int i = 0; i < threads; ++i) {
            running.emplace_back([i] {
                for (int line = 0; line < lines; ++line) {
                    qInfo("<%d/%d/\u00e4>", i, line);
                    qDebug("suppressed");
                }
            });
        }
        CDebug::setLogLevel(4); // while they read it
        for (std::thread& thread : running)
            thread.join();
        // Lines of two threads may share a line feed's place, but each is there in one piece.
        const QByteArray text = written();
        int found = 0;
        for (int i = 0; i < threads; ++i) {
            for (int line = 0; line < lines; ++line)
                found += text.contains(QString::asprintf(" INF <%d/%d/\u00e4>", i, line).toUtf8());
        }
        QCOMPARE(found, threads * lines);
        QCOMPARE(text.count('\n'), threads * lines);
        QVERIFY(!text.contains("suppressed"));
    }

    // The rules for the buffer, as a window on a stream, without any thought of speed.
    void ringBufferAgainstModel()
    {
        QRandomGenerator random(42);
        for (int size = 1; size < 40; ++size) {
            CCircularLogBuffer buffer(size);
            QByteArray stream;
            int start = 0;
            bool overwritten = false;
            for (int i = 0; i < 300; ++i) {
                QByteArray line(random.bounded(size + 3), Qt::Uninitialized);
                for (char& byte : line)
                    byte = "ab\n"[random.bounded(3)];
                if (random.bounded(10) > 0)
                    line.append('\0');
                buffer.append(line);
                stream += line.right(size - 1).replace('\n', '\0');
                if (stream.size() - start >= size) {
                    start = stream.size() + 1 - size;
                    overwritten = true;
                }
                if (random.bounded(4) > 0)
                    continue;
                const int lineEnd = overwritten ? stream.indexOf('\0', start) : -1;
                if (lineEnd >= 0) {
                    start = lineEnd + 1;
                    overwritten = false;
                }
                for (int reading = 0; reading < 2; ++reading)
                    QVERIFY2(buffer.readAll() == stream.mid(start).replace('\0', '\n'),
                             qPrintable(QStringLiteral("size %1, step %2").arg(size).arg(i)));
            }
        }
    }

    void ringBufferRules()
    {
        CCircularLogBuffer buffer(16);
        buffer.append("12345678901234567890", 16); // too long as it is
        buffer.append("x\n", 3);                   // stored unchanged
        QCOMPARE(buffer.readAll(), QByteArray("x\n\n"));
        buffer.append(QByteArray(30, 'y'));
        buffer.clear();
        QVERIFY(buffer.readAll().isEmpty()); // nothing old comes back, although a line was run over

        CCircularLogBuffer none(0);
        none.append("a");
        none.append(QByteArray("a"));
        QVERIFY(none.readAll().isEmpty());
        auto* registered = new CCircularLogBuffer(8);
        CCircularLogBuffer::setInstanceUsedAsMessageHandler(registered);
        delete registered;
        QVERIFY(!CCircularLogBuffer::getInstanceUsedAsMessageHandler());
    }

    void namesAndTexts()
    {
        QObject top;
        top.setObjectName("top");
        QTimer middle(&top);
        QObject child(&middle);
        child.setObjectName("child");
        QCOMPARE(CDebug::objectNameWithParents(&child, 0), "child");
        QCOMPARE(CDebug::objectNameWithParents(&child, 9), "child<-QTimer<-top");
        QCOMPARE(CDebug::objectNameWithParents(&child, -1) + CDebug::objectNameWithParents(nullptr, 3), QString());

        const QVariantMap inner{{"x", QVariant()}, {"y", 2.5}};
        const QVariantMap map{{"list", QVariantList{1, inner, QVariant(), "end\n"}}, {"names", QStringList{"a", "b"}}};
        QCOMPARE(CDebug::toString(map, " "), " [list] (QVariantList)[4]\n"
                                             "   - '1' (int)\n"
                                             "   - (QVariantMap)[2]\n"
                                             "     'x' (invalid)\n"
                                             "     'y' '2.5' (double)\n"
                                             "   - (invalid)\n"
                                             "   - 'end\n' (QString)\n"
                                             " 'names' 'a', 'b'(QStringList)[2]");
        QCOMPARE(CDebug::toString(QVariantList()), QString());
    }

    void watchesSignalsAndModels()
    {
        CDebug::setLogLevel(5);
        CDebug::SignalEmissionDumper dumper(nullptr);
        QTimer timer;
        dumper.connectObject(&timer);
        timer.setObjectName("clock");
        QStringListModel model({"a", "b"});
        CDebug::dumpModel(model);
        const QList<QByteArray> lines = written().split('\n');
        QCOMPARE(lines.size(), 5);
        QCOMPARE(lines.at(0).mid(13), QByteArray("DBG SIGNAL OUT QTimer::clock objectNameChanged(QString)"));
        QCOMPARE(lines.at(1).mid(17), QByteArray("Model for QStringListModel"));
        QCOMPARE(lines.at(3).mid(17), QByteArray("1:0:b"));
    }

private:
    // What the file holds, with the output still open on it.
    QByteArray written() const
    {
        QFile file(m_file);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    QTemporaryDir m_folder;
    QString m_file;
};

QTEST_GUILESS_MAIN(tst_Debug)
#include "tst_debug.moc"
