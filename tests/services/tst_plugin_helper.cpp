#include <foundation/services/plugin_helper.h>

#include <QtTest/QtTest>

#include <array>

class TestPluginHelper : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void findsDirectories()
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
};

QTEST_GUILESS_MAIN(TestPluginHelper)
#include "tst_plugin_helper.moc"
