#include "common/app_options.h"

#include <QtTest/QtTest>

class tst_AppOptions : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // Service files and shells leave variables behind that are set and empty.
    void environment()
    {
        const auto options = [](const QStringList& arguments) {
            auto parsed = std::make_unique<AppOptions>("test", "TST_APP");
            parsed->addSwitch("fast", "");
            parsed->addSwitch("version", "");
            parsed->addValue("port", "PORT", "", "80");
            parsed->parse(arguments);
            return parsed;
        };
        // What the variables hold, and what the options are then, given "--port 1" and nothing.
        struct
        {
            const char *fast, *port;
            bool isFast, isPort;
            const char *withArgument, *without;
        } const rows[] = {{nullptr, nullptr, false, false, "1", "80"},
                          {"", "", false, true, "", ""},
                          {" ", "''", false, true, "", ""},
                          {"1", "2", true, true, "2", "2"},
                          {"false", "0", false, true, "0", "0"}};
        for (const auto& row : rows) {
            for (const auto& [name, value] : {std::pair{"TST_APP_FAST", row.fast}, {"TST_APP_PORT", row.port}})
                value ? qputenv(name, value) : qunsetenv(name);
            QCOMPARE(options({})->isSet("fast"), row.isFast);
            QCOMPARE(options({})->isSet("port"), row.isPort);
            QCOMPARE(options({})->value("port"), row.without);
            QCOMPARE(options({"--port", "1"})->value("port"), row.withArgument);
            QCOMPARE(options({"--port", "1"})->values("port"), QStringList(row.withArgument));
        }
        QVERIFY(!options({"--fast"})->isSet("fast")); // the variable says "false"
        for (const char* name : {"TST_APP_VERSION", "TST_APP_HELP"})
            qputenv(name, "1");
        QVERIFY(!options({})->isSet("version") && !options({})->isSet("help"));
        QVERIFY(options({"--version"})->isSet("version"));
    }
};

QTEST_GUILESS_MAIN(tst_AppOptions)
#include "tst_app_options.moc"
