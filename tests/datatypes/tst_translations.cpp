#include <foundation/core/foundation_translator.h>
#include <foundation/datatypes/data_type.h>

#include <QtTest/QtTest>

class tst_Translations : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void languages()
    {
        CFoundationTranslator translator;
        QCOMPARE(CFoundationTranslator::languages().join(' '), "de en fr it nl");
        for (const char* name : {"de", "de_CH", "de-AT"}) {
            QVERIFY(translator.setLanguage(name));
            QCOMPARE(translator.translate("@default", "Opener"), "Öffner");
        }
        for (const char* name : {"es", "", "d", "../foundation"}) {
            QVERIFY(!translator.setLanguage(name));
            QVERIFY(translator.translate("@default", "Opener").isEmpty());
        }
    }

    // The language may change while the program runs; nothing keeps a text of the old one.
    void changeOfLanguage()
    {
        const CDataType::DeviceRoles roles = CDataType::DeviceRoleOpener | CDataType::DeviceRoleOpenZones;
        const auto texts = [&] {
            return (CDataType::deviceRolesToStrings(roles)
                    << CDataType::broadcastZoneFlagsCompactString(0x17)
                    << CDataType::deviceOutputFlagsCompactString(0x7)
                    << CDataType::pinCodeEventFlagsCompactString(CDataType::PinCodeEventFlagDigits4)
                    << CDataType::rssiToSignalStrength(-50))
                .join('|');
        };
        const QString english = "Opener|Open Zones|Zones 1-3, 5|Motor, Relays 1-2|4 digits|Excellent";
        QCOMPARE(texts(), english);
        {
            CFoundationTranslator translator;
            QVERIFY(translator.setLanguage("de"));
            QVERIFY(QCoreApplication::installTranslator(&translator));
            QCOMPARE(texts(), "Öffner|Zonen öffnen|Zonen 1-3, 5|Motor, Relais 1-2|4 Stellen|Ausgezeichnet");
            QVERIFY(translator.setLanguage("it"));
            QCOMPARE(texts(), "Apriporta|Apertura zone|Zone 1-3, 5|Motore, Relè 1-2|4 cifre|Eccellente");
            // Whatever the language, the look-up by text goes by the English ones.
            QCOMPARE(int(CDataType::deviceRoleFromString("Opener")), 2);
        }
        QCOMPARE(texts(), english);
    }

    // Every text of the sources is in every catalogue, finished, with its place for a number or a text behind it.
    void catalogues()
    {
        QFile english(KYR_TRANSLATIONS_DIR "/foundation_en.ts");
        QVERIFY(english.open(QIODevice::ReadOnly));
        QStringList sources;
        for (QXmlStreamReader xml(&english); !xml.atEnd(); xml.readNext()) {
            if (xml.isStartElement() && xml.name() == QLatin1String("source"))
                sources += xml.readElementText();
        }
        for (const QString& language : CFoundationTranslator::languages()) {
            CFoundationTranslator translator;
            QVERIFY(translator.setLanguage(language));
            int same = 0;
            for (const QString& source : qAsConst(sources)) {
                const QString text = translator.translate("@default", source.toUtf8().constData());
                QVERIFY2(!text.isEmpty() && text.endsWith(' ') == source.endsWith(' ')
                             && text.contains("%1") == source.contains("%1"),
                         qPrintable(QString(language + ": " + source + " -> " + text)));
                same += text == source;
            }
            // Names of products and a few words are the same everywhere, most texts are not.
            QVERIFY2(language == "en" ? same == sources.size() : same * 6 < sources.size(), qPrintable(language));
        }
    }
};

QTEST_GUILESS_MAIN(tst_Translations)
#include "tst_translations.moc"
