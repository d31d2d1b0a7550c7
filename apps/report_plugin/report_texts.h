#pragma once

#include <foundation/core/foundation_translator.h>

#include <QtCore/QTranslator>

/// The words of a report in the language of the default locale, in which its dates are written, too. English for a
/// language that has no catalogue.
class ReportTexts
{
public:
    ReportTexts();

    /// One of the report's own texts.
    QString text(const char* english) const;
    /// A text of the library's catalog, such as the name of a card's type.
    QString catalogText(const char* english) const;
    /// The template with each "[[text]]" replaced by that text in the language.
    QString translated(const QString& templateText) const;

private:
    QTranslator m_own;
    CFoundationTranslator m_catalog;
};
