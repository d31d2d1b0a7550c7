#include <foundation/services/access_control_mock.h>
#include <foundation/services/base_report_plugin.h>
#include <foundation/services/base_report_server.h>

#include <QtTest/QtTest>

namespace {

// The installation in memory with definitions of properties, nested and in a circle, and a log.
class Model : public CAccessControlMock
{
public:
    QVariantList getModel(const QString& name, const QVariantMap& filter, const QStringList& fields) const override
    {
        if (name != QLatin1String("Properties"))
            return CAccessControlMock::getModel(name, filter, fields);
        const auto definition = [](qint64 id, const char* label, qint64 parent, const QVariant& classes) {
            return QVariantMap{{QStringLiteral("id"), id},
                               {QStringLiteral("label"), QLatin1String(label)},
                               {QStringLiteral("parentId"), parent},
                               {QStringLiteral("classes"), classes}};
        };
        return {definition(3, "City", 2, QVariantList{2, 1}),
                definition(1, "Contact", 0, QVariant()),
                definition(2, "Address", 1, 1),
                definition(4, "Colour", 0, QVariantList{2}),
                definition(5, "Ring", 6, 1),
                definition(6, "Back", 5, 2)};
    }
    bool logEvent(const QString& text, const QString& source, int, int, CItemId, int, bool) override
    {
        events.append(text + QLatin1Char('|') + source);
        return true;
    }
    QString getAbsolutePath(const QString& path) override { return QLatin1String("/srv/") + path; }
    QStringList events;
};

class Plugin : public CBaseReportPlugin
{
public:
    Plugin()
        : CBaseReportPlugin(QStringLiteral("test"), nullptr)
    {
    }
    using CBaseReportPlugin::server;
};

} // namespace

class TestReportServer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void values();
    void properties();
    void dates();
    void fontsAndPlugin();
};

void TestReportServer::values()
{
    Model model;
    const QString label = QStringLiteral("label");
    const CItemId second = model.createUser({{label, QStringLiteral("Anna Berger")}});
    CBaseReportServer server;
    server.setAccessControl(&model);
    server.setBaseModel(QStringLiteral("Users"), QStringLiteral("user"), {33, 999, second, 31});
    QCOMPARE(server.userIds(), (QList<CItemId>{999, 31, second, 33}));

    QVariant value = 7;
    QVERIFY(!server.getUserPropertyValue(-1, label, value));
    QVERIFY(!server.getUserPropertyValue(4, label, value));
    QCOMPARE(value, QVariant(7));
    QVERIFY(server.getUserPropertyValue(3, label, value));
    QCOMPARE(value, QVariant(QStringLiteral("Clara Dubois")));
    QVERIFY(server.getUserPropertyValue(3, QStringLiteral("userId"), value));
    QCOMPARE(value.toLongLong(), 33);

    const QString media = QStringLiteral("Media");
    QVERIFY(server.getUserDataValue(3, media, QStringLiteral("id"), 1, value));
    QCOMPARE(value.toLongLong(), 54);
    QVERIFY(server.getUserDataValue(3, media, QStringLiteral("validTo"), 0, value));
    QCOMPARE(value.toString(), QLocale().toString(QDate(2028, 12, 31), QLocale::ShortFormat));
    QVERIFY(!server.getUserDataValue(3, media, QStringLiteral("id"), 2, value));
    QVERIFY(!server.getUserDataValue(3, media, label, 0, value));
    QVERIFY(!server.getUserDataValue(3, QStringLiteral("Devices"), QStringLiteral("id"), 0, value));
    QVERIFY(server.doesUserDataExist(QStringLiteral("Codes"), QStringLiteral("code")));
    QVERIFY(!server.doesUserDataExist(QStringLiteral("Codes"), QStringLiteral("uid")));
    QVERIFY(server.doesUserPropertyExist(QStringLiteral("Email")));
    QVERIFY(!server.doesUserPropertyExist(QStringLiteral("Shoe Size")));
    QCOMPARE(server.getUserDataModel(3).value(media).toList().size(), 2);
    QVERIFY(server.getUserDataModel(4).isEmpty());

    server.setAccessControl(nullptr);
    QVERIFY(!server.getUserPropertyValue(3, label, value));
}

void TestReportServer::properties()
{
    Model model;
    model.setUserProperty(QStringLiteral("Contact/Address/City"), QStringLiteral("Bern"), 31);
    model.setUserProperty(QStringLiteral("Address"), QStringLiteral("Marktgasse 1"), 31);
    CBaseReportServer server;
    server.setAccessControl(&model);
    server.setBaseModel(QString(), QString(), {31});
    const QString properties = QStringLiteral("Properties");
    QStringList all;
    QVariant name, value;
    for (int i = 0; server.getUserDataValue(0, properties, QStringLiteral("name"), i, name); ++i) {
        QVERIFY(server.getUserDataValue(0, properties, QStringLiteral("value"), i, value));
        all.append(name.toString() + QLatin1Char('=') + value.toString());
    }
    QCOMPARE(all.join(QLatin1Char(';')),
             QStringLiteral("Contact/Address/City=Bern;Contact=;Contact/Address=Marktgasse 1;Back/Ring="));
    QVERIFY(server.getUserDataValue(0, properties, QStringLiteral("Contact/Address"), 0, value));
    QCOMPARE(value.toString(), QStringLiteral("Marktgasse 1"));
    QVERIFY(server.doesUserDataExist(properties, QStringLiteral("Contact/Address")));
    QVERIFY(!server.doesUserDataExist(properties, QStringLiteral("Colour")));
}

void TestReportServer::dates()
{
    QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
    const auto text = [](const QTime& time) {
        return CBaseReportServer::beautifyFormat(QDateTime(QDate(2026, 3, 1), time)).toString();
    };
    QCOMPARE(text(QTime(0, 0)), QStringLiteral("01.03.26"));
    QCOMPARE(text(QTime(23, 59, 59)), QStringLiteral("01.03.26"));
    QCOMPARE(text(QTime(23, 59, 59, 1)), QStringLiteral("01.03.26 23:59"));
    QCOMPARE(text(QTime(7, 30)), QStringLiteral("01.03.26 07:30"));
    QCOMPARE(CBaseReportServer::beautifyFormat(QDate(2026, 3, 1)), QVariant(QDate(2026, 3, 1)));
    QLocale::setDefault(QLocale::c());
}

void TestReportServer::fontsAndPlugin()
{
    Model model;
    Plugin plugin;
    plugin.initialize(QStringLiteral("console"), &model);
    plugin.setReportTemplate(QStringLiteral("$name"));
    QCOMPARE(plugin.server()->reportTemplate(), QStringLiteral("$name"));
    QCOMPARE(plugin.server()->getWorkspaceFontDir(), QStringLiteral("/srv/Fonts"));
    plugin.server()->logMissingFonts({}, QStringLiteral("Badge"));
    plugin.server()->logMissingFonts({QStringLiteral("%2"), QStringLiteral("Serif")}, QStringLiteral("Badge"));
    QCOMPARE(model.events,
             QStringList{QStringLiteral(
                 "Font $font missing for User Report $report.|"
                 "{\"font\":\"'%2'\", \"report\":\"'Badge'\"}, {\"font\":\"'Serif'\", \"report\":\"'Badge'\"}")});
    QByteArray pdf("old");
    QVERIFY(!plugin.getUserReportAsPdf({31}, &pdf));
    QVERIFY(pdf.isEmpty());
    QCOMPARE(qobject_cast<IReportGenerator*>(static_cast<QObject*>(&plugin)), static_cast<IReportGenerator*>(&plugin));
    QCOMPARE(plugin.interfaces(), QStringList{QStringLiteral("com.brell.Quintor.IReportGenerator/1.0")});
}

QTEST_GUILESS_MAIN(TestReportServer)
#include "tst_report_server.moc"
