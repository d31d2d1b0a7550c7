#include <foundation/services/access_control_mock.h>
#include <foundation/services/base_report_plugin.h>
#include <foundation/services/base_report_server.h>
#include <foundation/services/plugin_helper.h>

#include <QtTest/QtTest>

#include <sys/stat.h>

#include <array>

namespace {

// The installation in memory with definitions of properties, nested and in a circle, and a log.
class Model : public CAccessControlMock
{
public:
    QVariantList getModel(const QString& name, const QVariantMap& filter, const QStringList& fields) const override
    {
        if (name != "Properties")
            return CAccessControlMock::getModel(name, filter, fields);
        const auto definition = [](qint64 id, const char* label, qint64 parent, const QVariant& classes) {
            return QVariantMap{{"id", id}, {"label", label}, {"parentId", parent}, {"classes", classes}};
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
        events.append(text + '|' + source);
        return true;
    }
    QString getAbsolutePath(const QString& path) override { return "/srv/" + path; }
    QStringList events;
};

class Plugin : public CBaseReportPlugin
{
public:
    using CBaseReportPlugin::CBaseReportPlugin;
    using CBaseReportPlugin::server;
};

} // namespace

class TestReportServer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void values()
    {
        Model model;
        const CItemId second = model.createUser({{"label", "Anna Berger"}});
        CBaseReportServer server;
        server.setAccessControl(&model);
        server.setBaseModel("Users", "user", {33, 999, second, 31});
        QCOMPARE(server.userIds(), (QList<CItemId>{999, 31, second, 33}));

        const auto property = [&](int user, const char* name) {
            QVariant value = "untouched";
            return server.getUserPropertyValue(user, name, value) == (value != "untouched") ? value.toString()
                                                                                            : "wrong";
        };
        QCOMPARE(property(-1, "label") + property(4, "label"), "untoucheduntouched");
        QCOMPARE(property(3, "label"), "Clara Dubois");
        QCOMPARE(property(3, "userId"), "33");
        const auto datum = [&](const char* data, const char* name, int row) {
            QVariant value;
            return server.getUserDataValue(3, data, name, row, value) ? value.toString() : "none";
        };
        QCOMPARE(datum("Media", "id", 1), "54");
        QCOMPARE(datum("Media", "validTo", 0), QLocale().toString(QDate(2028, 12, 31), QLocale::ShortFormat));
        QCOMPARE(datum("Media", "id", 2), "none");
        QCOMPARE(datum("Media", "label", 0), "none");
        QCOMPARE(datum("Devices", "id", 0), "none");
        QVERIFY(server.doesUserDataExist("Codes", "code") && !server.doesUserDataExist("Codes", "uid"));
        QVERIFY(server.doesUserPropertyExist("Email") && !server.doesUserPropertyExist("Shoe Size"));
        QCOMPARE(server.getUserDataModel(3).value("Media").toList().size(), 2);
        QVERIFY(server.getUserDataModel(4).isEmpty());
        server.setAccessControl(nullptr);
        QCOMPARE(property(3, "label"), "untouched");
    }

    void properties()
    {
        Model model;
        model.setUserProperty("Contact/Address/City", "Bern", 31);
        model.setUserProperty("Address", "Marktgasse 1", 31);
        CBaseReportServer server;
        server.setAccessControl(&model);
        server.setBaseModel({}, {}, {31});
        QStringList all;
        QVariant name, value;
        for (int i = 0; server.getUserDataValue(0, "Properties", "name", i, name); ++i) {
            QVERIFY(server.getUserDataValue(0, "Properties", "value", i, value));
            all.append(name.toString() + '=' + value.toString());
        }
        QCOMPARE(all.join(';'), "Contact/Address/City=Bern;Contact=;Contact/Address=Marktgasse 1;Back/Ring=");
        QVERIFY(server.getUserDataValue(0, "Properties", "Contact/Address", 0, value));
        QCOMPARE(value.toString(), "Marktgasse 1");
        QVERIFY(server.doesUserDataExist("Properties", "Contact/Address"));
        QVERIFY(!server.doesUserDataExist("Properties", "Colour"));
    }

    void dates()
    {
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        const auto text = [](const QTime& time) {
            return CBaseReportServer::beautifyFormat(QDateTime(QDate(2026, 3, 1), time)).toString();
        };
        QCOMPARE(text(QTime(0, 0)), "01.03.26");
        QCOMPARE(text(QTime(23, 59, 59)), "01.03.26");
        QCOMPARE(text(QTime(23, 59, 59, 1)), "01.03.26 23:59");
        QCOMPARE(text(QTime(7, 30)), "01.03.26 07:30");
        QCOMPARE(CBaseReportServer::beautifyFormat(QDate(2026, 3, 1)), QVariant(QDate(2026, 3, 1)));
        QLocale::setDefault(QLocale::c());
    }

    void fontsAndPlugin()
    {
        Model model;
        Plugin plugin("test", nullptr);
        plugin.initialize("console", &model);
        plugin.setReportTemplate("$name");
        QCOMPARE(plugin.server()->reportTemplate(), "$name");
        QCOMPARE(plugin.server()->getWorkspaceFontDir(), "/srv/Fonts");
        plugin.server()->logMissingFonts({}, "Badge");
        plugin.server()->logMissingFonts({"%2", "Serif"}, "Badge");
        QCOMPARE(
            model.events,
            QStringList{"Font $font missing for User Report $report.|"
                        "{\"font\":\"'%2'\", \"report\":\"'Badge'\"}, {\"font\":\"'Serif'\", \"report\":\"'Badge'\"}"});
        QByteArray pdf("old");
        QVERIFY(!plugin.getUserReportAsPdf({31}, &pdf));
        QVERIFY(pdf.isEmpty());
        QCOMPARE(qobject_cast<IReportGenerator*>(static_cast<QObject*>(&plugin)),
                 static_cast<IReportGenerator*>(&plugin));
        QCOMPARE(plugin.interfaces(), QStringList{"com.brell.Quintor.IReportGenerator/1.0"});
    }

    void findsPlugins()
    {
        // Folders, the application's, and those that are searched.
        const std::array<const char*, 3> rows[] = {
            {"app/plugins", "app", "app/plugins"},
            {"app", "app", "app"},
            {"app/Debug app/plugins", "app/Debug", "app/plugins"},
            {"app/release", "app/release", "app"},
            {"app/profile app/plugins", "app/profile", "app/profile"},
            {"dev/Apps/Admora dev/Libraries/kyr_report dev/Libraries/kyr_rpc", "dev/Apps/Admora",
             "dev/Libraries/kyr_rpc dev/Libraries/kyr_report"},
            {"dev/Apps/Admora/debug dev/Libraries/kyr_fias", "dev/Apps/Admora/debug", "dev/Libraries/kyr_fias"},
            {"dev/Tests dev/Libraries/kyr_fias dev/Libraries/other", "dev/Tests", "dev/Libraries/kyr_fias"},
            {"dev/Tests/plugins dev/Libraries/kyr_fias", "dev/Tests", "dev/Tests/plugins"},
            {"dev/Tests dev/Libraries", "dev/Tests", ""},
            {"dev/Tests", "dev/Tests", "dev/Tests"},
            {"Tests/kyr_test.app/Contents/MacOS Libraries/kyr_rpc", "Tests/kyr_test.app/Contents/MacOS",
             "Libraries/kyr_rpc"},
        };
        for (const auto& [tree, base, expected] : rows) {
            const QTemporaryDir temporary;
            const QDir root(QFileInfo(temporary.path()).canonicalFilePath());
            for (const QString& path : QString(tree).split(' '))
                QVERIFY(root.mkpath(path));
            QStringList found;
            for (const QDir& directory : CPluginHelper::findPluginsDirectories(root.filePath(base)))
                found.append(root.relativeFilePath(directory.canonicalPath()));
            QCOMPARE(found.join(' '), expected);
        }
    }

    void trustsNoFileThatOthersMayWrite()
    {
        const QTemporaryDir temporary; // stands in a folder that all may write, but not delete each other's files in
        const QDir root(QFileInfo(temporary.path()).canonicalFilePath());
        QVERIFY(root.mkpath("above/folder"));
        const QString file = root.filePath("above/folder/module");
        QVERIFY(QFile("/dev/null").copy(file) && QFile::link(file, root.filePath("link")));
        // Modes of the file, its folder and the one above.
        const std::tuple<uint, uint, uint, bool> rows[] = {
            {0644, 0755, 0755, true},  {0664, 0755, 0755, false},  {0646, 0755, 0755, false},
            {0644, 0775, 0755, false}, {0644, 0757, 0755, false},  {0644, 0755, 0777, false},
            {0644, 0755, 01777, true}, {0644, 01777, 0755, false}, {0400, 0700, 0700, true},
        };
        for (const auto& [fileMode, folderMode, aboveMode, trusted] : rows) {
            QCOMPARE(::chmod(QFile::encodeName(file), fileMode)
                         + ::chmod(QFile::encodeName(root.filePath("above/folder")), folderMode)
                         + ::chmod(QFile::encodeName(root.filePath("above")), aboveMode),
                     0);
            for (const QString& path : {file, root.filePath("link")}) {
                if (!trusted)
                    QTest::ignoreMessage(
                        QtWarningMsg,
                        qPrintable("PluginHelper: " + path
                                   + " is passed over: others than the user and root may write it or a folder above"));
                QCOMPARE(CPluginHelper::trustedFile(path), trusted ? file : QString());
            }
        }
    }
};

QTEST_GUILESS_MAIN(TestReportServer)
#include "tst_report_server.moc"
