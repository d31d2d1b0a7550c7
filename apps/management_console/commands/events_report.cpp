#include "commands/events_report.h"

#include <QtCore/QDate>
#include <QtCore/QLocale>

#include <algorithm>

namespace {

constexpr const char* style =
    "<style>body { font-family: \"DejaVu Sans\", sans-serif; font-size: 9pt; color: #20262d; }"
    "h1 { font-size: 20pt; font-weight: normal; color: #14395b; margin-bottom: 4px; }"
    ".note { color: #6a7683; margin-top: 0px; }"
    "th { font-size: 8.5pt; color: #44525f; text-align: left; background-color: #e9eef3; }"
    ".denied { color: #a32020; } .granted { color: #1c6b3a; }</style>";

// What stands of an event in the document.
struct Row
{
    explicit Row(const Table& events)
        : table(events)
    {
        for (int column = 0; column < table.columnCount(); ++column)
            columns.insert(table.key(column), column);
    }

    QString text(int row, const char* key) const { return table.text(row, columns.value(QLatin1String(key))); }
    // "2026-11-22"
    QString day(int row) const { return text(row, "at").left(10); }
    QString html(int row) const;

    const Table& table;
    QMap<QString, int> columns;
};

QString joined(const QStringList& words, const QString& separator)
{
    QStringList present = words;
    present.removeAll(QString());
    return present.join(separator);
}

QString Row::html(int row) const
{
    const QString kind = text(row, "kind");
    const QString says = text(row, "serverReason");
    const QString server = says.isEmpty() ? QString() : QStringLiteral("(server: %1)").arg(says);
    const QString who = joined({text(row, "name"), text(row, "credential"), text(row, "uid")}, QStringLiteral(", "));
    const QString whom = text(row, "operator");
    const QString by = whom.isEmpty() ? QString() : QStringLiteral("by %1").arg(whom);
    const QString why = joined({text(row, "reason"), server, text(row, "what"), by}, QStringLiteral(" "));
    QString cells;
    for (const QString& cell : {text(row, "at").mid(11, 8), kind, text(row, "door"), who, why})
        cells += QStringLiteral("<td class=\"%1\">%2</td>").arg(kind, cell.toHtmlEscaped());
    return QStringLiteral("<tr>%1</tr>").arg(cells);
}

} // namespace

ReportHelperRun* startEventsReport(const Table& events, int left, QObject* parent)
{
    const Row rows(events);
    QVector<ReportSheets::Sheet> sheets;
    for (int row = 0; row < events.rowCount();) {
        const QString day = rows.day(row);
        ReportSheets::Sheet sheet;
        sheet.name = QLocale().toString(QDate::fromString(day, Qt::ISODate), QLocale::LongFormat);
        QString body;
        int granted = 0;
        int denied = 0;
        for (; row < events.rowCount() && rows.day(row) == day; ++row) {
            body += rows.html(row);
            granted += rows.text(row, "kind") == QLatin1String("granted") ? 1 : 0;
            denied += rows.text(row, "kind") == QLatin1String("denied") ? 1 : 0;
        }
        sheet.html =
            QStringLiteral("<html><head>%1</head><body><h1>%2</h1><p class=\"note\">%3 granted, %4 denied%5</p>"
                           "<table width=\"100%\" cellspacing=\"0\" cellpadding=\"4\"><thead><tr><th "
                           "width=\"11%\">Time</th><th width=\"11%\">Event</th><th width=\"20%\">Door</th><th "
                           "width=\"28%\">Who</th><th width=\"30%\">What</th></tr></thead>%6</table></body></html>")
                .arg(QString::fromLatin1(style), sheet.name.toHtmlEscaped())
                .arg(granted)
                .arg(denied)
                .arg(sheets.isEmpty() && left > 0 ? QStringLiteral(", %1 older events left out").arg(left) : QString(),
                     body);
        sheets.append(sheet);
    }
    if (sheets.isEmpty())
        sheets.append(
            {QString(), QStringLiteral("<html><head>%1</head><body><h1>Events</h1><p class=\"note\">There are "
                                       "none.</p></body></html>")
                            .arg(QString::fromLatin1(style))});
    const ReportSheets::Setup setup{QStringLiteral("Events"), QStringLiteral("Events"), QStringLiteral("Page %1 of %2"),
                                    QString()};
    return new ReportHelperRun(setup, sheets, parent);
}
