#include "report_texts.h"

#include <QtCore/QLocale>

namespace {

const char context[] = "UserReport";

// The words of user_report.html, for those who collect texts to translate.
[[maybe_unused]] const char* const templateTexts[] = {
    QT_TRANSLATE_NOOP("UserReport", "User Report"),
    QT_TRANSLATE_NOOP("UserReport", "Groups"),
    QT_TRANSLATE_NOOP("UserReport", "Member of no group."),
    QT_TRANSLATE_NOOP("UserReport", "Access Rights"),
    QT_TRANSLATE_NOOP("UserReport", "Access Point"),
    QT_TRANSLATE_NOOP("UserReport", "Location"),
    QT_TRANSLATE_NOOP("UserReport", "Valid From"),
    QT_TRANSLATE_NOOP("UserReport", "Valid To"),
    QT_TRANSLATE_NOOP("UserReport", "No access rights of their own."),
    QT_TRANSLATE_NOOP("UserReport", "Media"),
    QT_TRANSLATE_NOOP("UserReport", "Number"),
    QT_TRANSLATE_NOOP("UserReport", "Type"),
    QT_TRANSLATE_NOOP("UserReport", "Description"),
    QT_TRANSLATE_NOOP("UserReport", "UID"),
    QT_TRANSLATE_NOOP("UserReport", "No media handed out."),
    QT_TRANSLATE_NOOP("UserReport", "Codes"),
    QT_TRANSLATE_NOOP("UserReport", "Code"),
    QT_TRANSLATE_NOOP("UserReport", "No codes."),
};

} // namespace

ReportTexts::ReportTexts()
{
    const QString language = QLocale().name();
    if (!m_own.load(QStringLiteral(":/kyr_report/user_report_") + language, QString(), QStringLiteral("_-.")))
        return;
    m_catalog.setLanguage(language);
}

QString ReportTexts::text(const char* english) const
{
    const QString translated = m_own.translate(context, english);
    return translated.isEmpty() ? QString::fromUtf8(english) : translated;
}

QString ReportTexts::catalogText(const char* english) const
{
    const QString translated = m_catalog.translate("@default", english);
    return translated.isEmpty() ? QString::fromUtf8(english) : translated;
}

QString ReportTexts::translated(const QString& templateText) const
{
    QString result;
    int done = 0;
    for (;;) {
        const int open = int(templateText.indexOf(QLatin1String("[["), done));
        const int close = open < 0 ? -1 : int(templateText.indexOf(QLatin1String("]]"), open));
        if (close < 0)
            return result + templateText.mid(done);
        result += templateText.mid(done, open - done);
        result += text(templateText.mid(open + 2, close - open - 2).toUtf8().constData());
        done = close + 2;
    }
}
