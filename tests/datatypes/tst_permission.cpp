#include <foundation/datatypes/permission.h>

#include <QtTest/QtTest>

class tst_Permission : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cast();
    void names();
};

void tst_Permission::cast()
{
    // Any warning here fails the comparison of counts below.
    static int warnings = 0;
    const auto handler =
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) { ++warnings; });
    const auto administrator = CPermission::cast(0xFFFFFFFF);
    const auto all = CPermission::cast(0x7FFFFFF);
    qInstallMessageHandler(handler);
    QCOMPARE(warnings, 0);
    QCOMPARE(unsigned(administrator), 0xFFFFFFFFu);
    QCOMPARE(unsigned(all), 0x7FFFFFFu);

    QTest::ignoreMessage(QtWarningMsg, "Permissions: Cast with invalid value 8000001");
    QCOMPARE(unsigned(CPermission::cast(0x8000001)), 1u);
    QTest::ignoreMessage(QtWarningMsg, "Permissions: Cast with invalid value fffffffe");
    QCOMPARE(unsigned(CPermission::cast(0xFFFFFFFE)), 0x7FFFFFEu);
}

void tst_Permission::names()
{
    const auto joined = [](unsigned int bits) {
        return CPermission::names(Permissions(QFlag(bits))).join(QLatin1Char('|'));
    };
    QCOMPARE(joined(0), QString());
    QCOMPARE(joined(0x8001), QStringLiteral("Login Write|Login Read"));
    QCOMPARE(
        joined(0xFFFFFFFF),
        QStringLiteral("Login Write|Login Read|Users Write|Users Read|User Groups Write|User Groups Read|Media Write|"
                       "Media Read|Codes Write|Codes Read|Access Rights Write|Access Rights Read|Time Profiles Write|"
                       "Time Profiles Read|Access Points Write|Access Points Read|Remote Execution|Devices Write|"
                       "Devices Read|Software Write|Software Read|Logs|Media Pools Write|Media Pools Read|"
                       "User Group Relations|Read Passwords|Smart Access"));

    const std::pair<unsigned int, const char*> texts[] = {{0, "None"},
                                                          {0x3, "Unknown"},
                                                          {0x100, "Remote Execution"},
                                                          {0x800, "Logs"},
                                                          {0x1000000, "Software Read"},
                                                          {0x8000000, "Unknown"},
                                                          {0xFFFFFFFF, "Administrator"}};
    for (const auto& [value, text] : texts)
        QCOMPARE(CPermission::name(static_cast<Permission>(value)), text);
}

QTEST_GUILESS_MAIN(tst_Permission)
#include "tst_permission.moc"
