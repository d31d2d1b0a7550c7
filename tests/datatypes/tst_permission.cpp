#include <foundation/datatypes/permission.h>

#include <QtTest/QtTest>

class tst_Permission : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void castsAndNames();
};

void tst_Permission::castsAndNames()
{
    static int warnings = 0;
    const auto handler =
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) { ++warnings; });
    const unsigned int administrator = CPermission::cast(0xFFFFFFFF);
    const unsigned int all = CPermission::cast(0x7FFFFFF);
    qInstallMessageHandler(handler);
    QCOMPARE(warnings, 0);
    QCOMPARE(administrator, 0xFFFFFFFFu);
    QCOMPARE(all, 0x7FFFFFFu);
    QTest::ignoreMessage(QtWarningMsg, "Permissions: Cast with invalid value fffffffe");
    QCOMPARE(unsigned(CPermission::cast(0xFFFFFFFE)), 0x7FFFFFEu);

    QVERIFY(CPermission::names({}).isEmpty());
    const QStringList names = CPermission::names(PermissionAdministrator);
    QCOMPARE(
        names.join(QLatin1Char('|')),
        QStringLiteral("Login Write|Login Read|Users Write|Users Read|User Groups Write|User Groups Read|Media Write|"
                       "Media Read|Codes Write|Codes Read|Access Rights Write|Access Rights Read|Time Profiles Write|"
                       "Time Profiles Read|Access Points Write|Access Points Read|Remote Execution|Devices Write|"
                       "Devices Read|Software Write|Software Read|Logs|Media Pools Write|Media Pools Read|"
                       "User Group Relations|Read Passwords|Smart Access"));
    QCOMPARE(CPermission::name(PermissionAdministrator), "Administrator");
    QCOMPARE(CPermission::name(PermissionNone), "None");
    QCOMPARE(CPermission::name(PermissionSoftwareRead), "Software Read");
    QCOMPARE(CPermission::name(static_cast<Permission>(0x3)), "Unknown");
    QCOMPARE(CPermission::name(static_cast<Permission>(0x8000000)), "Unknown");
}

QTEST_GUILESS_MAIN(tst_Permission)
#include "tst_permission.moc"
