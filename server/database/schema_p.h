#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>

class SqlConnection;

/// The tables of an installation, built up by numbered scripts: 001.sql, 002.sql and so on, each of which brings a
/// database from the version before to its own.
namespace Schema {

/// In the header of a file: that it is one of this system.
inline constexpr int applicationId = 0x4b595231;

/// The statements of each version in turn; the version is the number of elements.
QList<QStringList> scripts(const QString& folder);

/// What the header of a file says before a database engine touches it; empty when it may be opened.
QString refusal(const QString& path, int newest);

/// Why a file of a newer version is refused.
QString newerText(const QString& location, int version, int newest);

/// Brings the database to the version of the last script, each step in one transaction of its own. False and
/// `errorString` when a step failed; what was done before it stays.
bool migrate(SqlConnection& connection, const QString& location, const QList<QStringList>& scripts,
             QString* errorString);

} // namespace Schema
