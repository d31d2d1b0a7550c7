#include "common/report_loader.h"

#include <foundation/services/access_control_mock.h>

#include <QtCore/QScopeGuard>
#include <QtTest/QtTest>

namespace {

// With many users, a name that HTML writes in another way, and counts of the questions that each user costs.
class Model : public CAccessControlMock
{
public:
    QVariantMap getSystemInfo() override { return {{"systemName", "R & D"}}; }
    QVariantList getModel(const QString& name, const QVariantMap& filter, const QStringList& fields) const override
    {
        ++asked;
        return CAccessControlMock::getModel(name, filter, fields);
    }
    bool logEvent(const QString& text, const QString& source, int, int, CItemId, int, bool) override
    {
        events += text + source;
        return true;
    }

    mutable int asked = 0;
    QStringList events;
};

} // namespace

// The plugin is found and loaded as the tools do it, and renders in a process without a graphical application object.
class TestReportPlugin : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QString error;
        m_generator = loadReportGenerator(error);
        QVERIFY2(m_generator != nullptr, qPrintable(error));
        QCOMPARE(userReportAsHtml({31}), QString());
        m_generator->initialize("test", &m_model);
    }

    void html()
    {
        const CItemId user = m_model.createUser({{"label", "<b>Bobby $name</b>"}});
        const QString html = userReportAsHtml({999, 33, user, 31});
        QVERIFY(html.contains("&lt;b&gt;Bobby $name&lt;/b&gt;"));
        QVERIFY(!html.contains("${") && !html.contains("<!-- "));
        QVERIFY(html.contains("Head Office, First Floor, Server Room"));
        QVERIFY(html.contains("04:A1:22:3B:5C:6D:82"));
        QVERIFY(html.contains("6 digits") && !html.contains("482913"));
        QCOMPARE(html.count("No media handed out"), 1);
        QCOMPARE(html.count("page-break-before: always"), 2);
        QVERIFY(html.indexOf("Anna") < html.indexOf("Clara"));
        QCOMPARE(userReportAsHtml({999}), QString());
    }

    void ownTemplate()
    {
        m_generator->setReportTemplate(
            "$count:<!-- user -->$name(<!-- medium -->$label,<!-- /medium -->)<!-- /user --><!-- open");
        QCOMPARE(userReportAsHtml({33, 35}), "2:Clara Dubois(100203,100204,)Eva Fischer()<!-- open");
        m_generator->setReportTemplate(QString());
    }

    void language()
    {
        for (const QStringList& row :
             {QStringList{"de_CH", "Zutrittsrechte", "Karte"}, QStringList{"fr", "acc\u00E8s", "Carte"}}) {
            QLocale::setDefault(QLocale(row[0]));
            const QString html = userReportAsHtml({31});
            QLocale::setDefault(QLocale::c());
            QVERIFY2(html.contains(row[1]) && html.contains(row[2]) && !html.contains("[["), qPrintable(html));
            for (const char* english : {"Access", "Groups", "Valid", "Media<", "Number", "Department"})
                QVERIFY2(!html.contains(english), english);
        }
    }

    void longReport()
    {
        CItemIdList users;
        for (int i = 0; i < 100; ++i)
            users.append(m_model.createUser({{"label", QString("User %1").arg(i)}}));
        auto* jobs = qobject_cast<IReportJobs*>(dynamic_cast<QObject*>(m_generator));
        QVERIFY(jobs);
        QByteArray pdf;
        QString error = "none";
        int done = 0;
        QElapsedTimer turn;
        qint64 longestTurn = 0;
        QTimer beat;
        connect(&beat, &QTimer::timeout, this, [&] { longestTurn = qMax(longestTurn, turn.restart()); });
        m_model.asked = 0;
        jobs->startUserReportAsPdf(
            users, this, [&](int count, int total) { done = count + 1000 * total; },
            [&](const QByteArray& result, const QString& reason) {
                pdf = result;
                error = reason;
            });
        turn.start();
        beat.start(0);
        QTRY_COMPARE(error, QString());
        QCOMPARE(done, 100100);
        QCOMPARE(pdf.count("/Type /Page\n"), 100);
        QVERIFY2(m_model.asked < 10, qPrintable(QString::number(m_model.asked))); // whole lists, not one a user
        QVERIFY2(longestTurn < 1000, qPrintable(QString::number(longestTurn)));

        // Given up in the middle, and deleted by the one who is told.
        QObject* job = nullptr;
        int told = 0;
        job = jobs->startUserReportAsPdf(
            users, this, [&](int, int) { delete job; }, [&](const QByteArray&, const QString&) { ++told; });
        QPointer<QObject> guard = job;
        QTRY_VERIFY(!guard);
        guard = job = jobs->startUserReportAsPdf({999}, this, nullptr, [&](const QByteArray&, const QString& reason) {
            told += reason.isEmpty() ? 10 : 1;
            delete job;
        });
        QTRY_VERIFY(!guard);
        QCOMPARE(told, 1);
    }

    void pdf()
    {
        QByteArray pdf;
        QVERIFY(!m_generator->getUserReportAsPdf({999}, &pdf));
        QVERIFY(m_generator->getUserReportAsPdf({31, 32, 33, 34, 35}, &pdf));
        QVERIFY(pdf.startsWith("%PDF-") && pdf.trimmed().endsWith("%%EOF"));
        QCOMPARE(pdf.count("/Type /Page\n"), 5);
        const auto utf16 = [](const QString& text) {
            QByteArray bytes;
            for (const QChar c : text)
                bytes += QByteArray(1, char(c.unicode() >> 8)) + char(c.unicode());
            return bytes;
        };
        QVERIFY(pdf.contains(utf16("R & D")) && !pdf.contains(utf16("amp;")));
        const QByteArray outlines = pdf.mid(pdf.indexOf("/Outlines ") + 10, 4).simplified().split(' ')[0];
        QCOMPARE(int(pdf.count(QByteArray("/Parent " + outlines + " 0 R"))), 5); // bookmarks
    }

    void missingFonts()
    {
        QTemporaryFile none;
        QVERIFY(none.open() && none.write("<fontconfig></fontconfig>") > 0 && none.flush());
        const auto restore = qScopeGuard([] { qunsetenv("FONTCONFIG_FILE"); });
        qputenv("FONTCONFIG_FILE", none.fileName().toLocal8Bit());
        m_model.events.clear();
        QByteArray pdf("old");
        QVERIFY(!m_generator->getUserReportAsPdf({31}, &pdf) && pdf.isEmpty());
        QCOMPARE(m_model.events.size(), 1);
        QVERIFY2(m_model.events[0].startsWith("Font $font missing for User Report $report.{\"font\":\"'DejaVu Sans'"),
                 qPrintable(m_model.events[0]));
    }

private:
    QString userReportAsHtml(const CItemIdList& ids)
    {
        QString html;
        QMetaObject::invokeMethod(dynamic_cast<QObject*>(m_generator), "userReportAsHtml", Q_RETURN_ARG(QString, html),
                                  Q_ARG(CItemIdList, ids));
        return html;
    }

    Model m_model;
    IReportGenerator* m_generator = nullptr;
};

QTEST_GUILESS_MAIN(TestReportPlugin)
#include "tst_report_plugin.moc"
