#include <foundation/core/foundation_translator.h>
#include <foundation/datatypes/data_type.h>

#include <QtTest/QtTest>

class TestTranslations : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void languages()
    {
        CFoundationTranslator translator;
        QCOMPARE(CFoundationTranslator::languages().join(QLatin1Char(' ')), QStringLiteral("de en fr it nl"));
        for (const char* name : {"de", "de_CH", "de-AT"}) {
            QVERIFY(translator.setLanguage(QString::fromLatin1(name)));
            QCOMPARE(translator.translate("@default", "Opener"), QStringLiteral("Öffner"));
        }
        for (const char* name : {"es", "", "d", "../foundation"}) {
            QVERIFY(!translator.setLanguage(QString::fromLatin1(name)));
            QVERIFY(translator.translate("@default", "Opener").isEmpty());
        }
    }

    // The language may change while the program runs; nothing keeps a text of the old one.
    void changeOfLanguage()
    {
        const CDataType::DeviceRoles roles = CDataType::DeviceRoleOpener | CDataType::DeviceRoleOpenZones;
        const auto texts = [&] {
            return QStringList(
                       CDataType::deviceRolesToStrings(roles)
                       + QStringList{CDataType::broadcastZoneFlagsCompactString(0x17),
                                     CDataType::deviceOutputFlagsCompactString(0x7),
                                     CDataType::pinCodeEventFlagsCompactString(CDataType::PinCodeEventFlagDigits4),
                                     CDataType::rssiToSignalStrength(-50)})
                .join(QLatin1Char('|'));
        };
        const QString english = QStringLiteral("Opener|Open Zones|Zones 1-3, 5|Motor, Relays 1-2|4 digits|Excellent");
        QCOMPARE(texts(), english);
        {
            CFoundationTranslator translator;
            QVERIFY(translator.setLanguage(QStringLiteral("de")));
            QVERIFY(QCoreApplication::installTranslator(&translator));
            QCOMPARE(texts(),
                     QStringLiteral("Öffner|Zonen öffnen|Zonen 1-3, 5|Motor, Relais 1-2|4 Stellen|Ausgezeichnet"));
            QVERIFY(translator.setLanguage(QStringLiteral("it")));
            QCOMPARE(texts(),
                     QStringLiteral("Apriporta|Apertura zone|Zone 1-3, 5|Motore, Relè 1-2|4 cifre|Eccellente"));
            // Whatever the language, the look-up by text goes by the English ones.
            QCOMPARE(int(CDataType::deviceRoleFromString("Opener")), 2);
        }
        QCOMPARE(texts(), english);
    }

    void catalogues_data()
    {
        QTest::addColumn<QString>("language");
        for (const QString& language : CFoundationTranslator::languages())
            QTest::newRow(qPrintable(language)) << language;
    }

    // Every text of the sources is in every catalogue, finished, with its place for a number or a text behind it.
    void catalogues()
    {
        QFETCH(QString, language);
        QFile english(QStringLiteral(KYR_TRANSLATIONS_DIR "/foundation_en.ts"));
        QVERIFY(english.open(QIODevice::ReadOnly));
        CFoundationTranslator translator;
        QVERIFY(translator.setLanguage(language));
        int texts = 0;
        int same = 0;
        for (QXmlStreamReader xml(&english); !xml.atEnd(); xml.readNext()) {
            if (!xml.isStartElement() || xml.name() != QLatin1String("source"))
                continue;
            const QString source = xml.readElementText();
            const QString text = translator.translate("@default", source.toUtf8().constData());
            if (text.isEmpty() || text.endsWith(QLatin1Char(' ')) != source.endsWith(QLatin1Char(' '))
                || text.contains(QLatin1String("%1")) != source.contains(QLatin1String("%1")))
                QFAIL(qPrintable(QString(source + QLatin1String(" -> ") + text)));
            ++texts;
            same += text == source;
        }
        for (const auto type : CDataType::deviceTypeValues())
            QVERIFY(!translator.translate("@default", CDataType::deviceTypeToString(type)).isEmpty());
        // Names of products and a few words are the same everywhere, most texts are not.
        QVERIFY2(language == QLatin1String("en") ? same == texts : same * 6 < texts, qPrintable(QString::number(same)));
    }
};

QTEST_GUILESS_MAIN(TestTranslations)
#include "tst_translations.moc"
