#pragma once

#include "app_options.h"

#include <QtCore/QDateTime>
#include <QtCore/QString>
#include <QtCore/QVector>

/// The logging options that every tool has: --log-level, --log-file and --log-format.
void addLogOptions(AppOptions& options, const QString& defaultLevel, const QString& defaultFile);
/// Installs the message handler as the options say. False with an error in `options`.
///
/// Lines have the time of day alone: when a file is begun, and in front of the first line of another day, one says the
/// date.
bool applyLogOptions(AppOptions& options);

/// A line of the log that is kept in memory, see CDebug::enableCircularBuffer().
struct LogLine
{
    QString line;   ///< as it was written: "12:34:56.789 INF text"
    QDateTime time; ///< local; invalid for the rest of a text of several lines
    QString level;
    QString text;
};
/// From the oldest to the newest.
QVector<LogLine> keptLog();
