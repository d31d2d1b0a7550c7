#include "common/report_loader.h"

#include <foundation/services/access_control_mock.h>

#include <QtCore/QPluginLoader>
#include <QtCore/QProcess>
#include <QtTest/QtTest>

// The plugin is found and loaded as the tools do it, and renders in a process without a graphical application object.
class TestReportPlugin : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void html();
    void ownTemplate();
    void pdf();

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

void TestReportPlugin::initTestCase()
{
    QString error;
    m_generator = loadReportGenerator(error);
    QVERIFY2(m_generator != nullptr, qPrintable(error));
    QCOMPARE(userReportAsHtml({31}), QString());
    m_generator->initialize(QStringLiteral("test"), &m_model);
}

void TestReportPlugin::html()
{
    const CItemId user = m_model.createUser({{QStringLiteral("label"), QStringLiteral("<b>Bobby $name</b>")}});
    const QString html = userReportAsHtml({999, 33, user, 31});
    QVERIFY(html.contains(QLatin1String("&lt;b&gt;Bobby $name&lt;/b&gt;")));
    QVERIFY(!html.contains(QLatin1String("${")) && !html.contains(QLatin1String("<!-- ")));
    QVERIFY(html.contains(QLatin1String("Head Office, First Floor, Server Room")));
    QVERIFY(html.contains(QLatin1String("04:A1:22:3B:5C:6D:82")));
    QVERIFY(html.contains(QLatin1String("6 digits")) && !html.contains(QLatin1String("482913")));
    QCOMPARE(html.count(QLatin1String("No media handed out")), 1);
    QCOMPARE(html.count(QLatin1String("page-break-before: always")), 2);
    QVERIFY(html.indexOf(QLatin1String("Anna")) < html.indexOf(QLatin1String("Clara")));
    QCOMPARE(userReportAsHtml({999}), QString());
}

void TestReportPlugin::ownTemplate()
{
    m_generator->setReportTemplate(
        QStringLiteral("$count:<!-- user -->$name(<!-- medium -->$label,<!-- /medium -->)<!-- /user --><!-- open"));
    QCOMPARE(userReportAsHtml({33, 35}), QStringLiteral("2:Clara Dubois(100203,100204,)Eva Fischer()<!-- open"));
    m_generator->setReportTemplate(QString());
}

void TestReportPlugin::pdf()
{
    QByteArray pdf;
    QVERIFY(!m_generator->getUserReportAsPdf({999}, &pdf));
    QVERIFY(m_generator->getUserReportAsPdf({31, 32, 33, 34, 35}, &pdf));
    QVERIFY(pdf.startsWith("%PDF-") && pdf.trimmed().endsWith("%%EOF"));
    QCOMPARE(pdf.count("/Type /Page\n"), 5);
}

QTEST_GUILESS_MAIN(TestReportPlugin)
#include "tst_report_plugin.moc"
