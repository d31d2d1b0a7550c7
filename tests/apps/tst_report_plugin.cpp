#include "common/report_loader.h"

#include <foundation/services/access_control_mock.h>

#include <QtTest/QtTest>

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

    void pdf()
    {
        QByteArray pdf;
        QVERIFY(!m_generator->getUserReportAsPdf({999}, &pdf));
        QVERIFY(m_generator->getUserReportAsPdf({31, 32, 33, 34, 35}, &pdf));
        QVERIFY(pdf.startsWith("%PDF-") && pdf.trimmed().endsWith("%%EOF"));
        QCOMPARE(pdf.count("/Type /Page\n"), 5);
    }

private:
    QString userReportAsHtml(const CItemIdList& ids)
    {
        QString html;
        QMetaObject::invokeMethod(dynamic_cast<QObject*>(m_generator), "userReportAsHtml", Q_RETURN_ARG(QString, html),
                                  Q_ARG(CItemIdList, ids));
        return html;
    }

    CAccessControlMock m_model;
    IReportGenerator* m_generator = nullptr;
};

QTEST_GUILESS_MAIN(TestReportPlugin)
#include "tst_report_plugin.moc"
