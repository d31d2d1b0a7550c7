#include <foundation/services/plugin_helper.h>

#include <QtTest/QtTest>

class TestPluginHelper : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void findsDirectories_data();
    void findsDirectories();
};

void TestPluginHelper::findsDirectories_data()
{
    QTest::addColumn<QStringList>("tree");
    QTest::addColumn<QString>("base");
    QTest::addColumn<QStringList>("expected");
    const auto row = [](const char* name, const char* tree, const char* base, const char* expected) {
        const auto list = [](const char* text) {
            return QString::fromLatin1(text).split(QLatin1Char(' '), Qt::SkipEmptyParts);
        };
        QTest::newRow(name) << list(tree) << QString::fromLatin1(base) << list(expected);
    };
    row("plugins below", "app/plugins", "app", "app/plugins");
    row("no plugins", "app", "app", "app");
    row("build folder", "app/Debug app/plugins", "app/Debug", "app/plugins");
    row("build folder without plugins", "app/release", "app/release", "app");
    row("other build folder", "app/profile app/plugins", "app/profile", "app/profile");
    row("application tree", "dev/Apps/Admora dev/Libraries/kyr_report dev/Libraries/kyr_rpc", "dev/Apps/Admora",
        "dev/Libraries/kyr_rpc dev/Libraries/kyr_report");
    row("application tree, debug", "dev/Apps/Admora/debug dev/Libraries/kyr_fias", "dev/Apps/Admora/debug",
        "dev/Libraries/kyr_fias");
    row("tests", "dev/Tests dev/Libraries/kyr_fias dev/Libraries/other", "dev/Tests", "dev/Libraries/kyr_fias");
    row("tests with plugins", "dev/Tests/plugins dev/Libraries/kyr_fias", "dev/Tests", "dev/Tests/plugins");
    row("no module", "dev/Tests dev/Libraries", "dev/Tests", "");
    row("no libraries", "dev/Tests", "dev/Tests", "dev/Tests");
    row("bundle", "Tests/kyr_test.app/Contents/MacOS Libraries/kyr_rpc", "Tests/kyr_test.app/Contents/MacOS",
        "Libraries/kyr_rpc");
}

void TestPluginHelper::findsDirectories()
{
    QFETCH(QStringList, tree);
    QFETCH(QString, base);
    QFETCH(QStringList, expected);
    const QTemporaryDir temporary;
    const QDir root(QFileInfo(temporary.path()).canonicalFilePath());
    for (const QString& path : qAsConst(tree))
        QVERIFY(root.mkpath(path));
    QStringList found;
    const auto directories = CPluginHelper::findPluginsDirectories(root.filePath(base));
    for (const QDir& directory : directories)
        found.append(root.relativeFilePath(directory.canonicalPath()));
    QCOMPARE(found, expected);
}

QTEST_GUILESS_MAIN(TestPluginHelper)
#include "tst_plugin_helper.moc"
