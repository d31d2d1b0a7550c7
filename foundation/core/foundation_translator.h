#pragma once

#include <foundation/core/export.h>

#include <QtCore/QStringList>
#include <QtCore/QTranslator>

/// The library's texts in one of its languages; the catalogues are compiled into the library. Install it like any
/// translator, and change the language at any time:
///
///     CFoundationTranslator translator;
///     translator.setLanguage(QLocale::system().name());
///     QCoreApplication::installTranslator(&translator);
///
/// The texts stand in the context "@default", so a program can translate what the catalog gives it in English:
///
///     QCoreApplication::translate("@default", CDataType::deviceRoleToString(role));
class KYR_FOUNDATION_EXPORT CFoundationTranslator : public QTranslator
{
    Q_OBJECT

public:
    explicit CFoundationTranslator(QObject* parent = nullptr);
    ~CFoundationTranslator() override;

    /// "de", "en", "fr", "it", "nl".
    static QStringList languages();

    /// Takes a language ("de") or a locale's name ("de_CH", "de-CH"). False for a language that is not there; then
    /// the texts stay English.
    bool setLanguage(const QString& language);
};
