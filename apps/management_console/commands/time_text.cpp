#include "commands/time_text.h"

#include <QtCore/QTimeZone>

CAccessTimeZone TimeText::consoleZone()
{
    const QTimeZone zone = QTimeZone::systemTimeZone();
    if (zone.isValid())
        return CAccessTimeZone(zone);
    // TZ may hold a rule instead of a name; then the offset of today has to do.
    return CAccessTimeZone(QTimeZone(QDateTime::currentDateTime().offsetFromUtc()));
}

CAccessTimeZone TimeText::zoneOf(const QString& name)
{
    const QTimeZone zone(name.toLatin1());
    return zone.isValid() ? CAccessTimeZone(zone) : consoleZone();
}

QString TimeText::mistake(const QString& option, const QString& text)
{
    return QStringLiteral("%1 takes a time such as 2026-11-22T03:10, or a date, not \"%2\"").arg(option, text);
}

QString TimeText::toText(const QDateTime& time)
{
    return time.isValid() ? time.toOffsetFromUtc(time.offsetFromUtc()).toString(Qt::ISODate) : QString();
}
