#include <server/database/schema_p.h>

#include <server/database/sql_connection_p.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QtEndian>

namespace {

// Of SQLite's file header: 16 bytes of a mark, the version at 60, the application's id at 68, both big-endian.
constexpr int headerSize = 100;
constexpr int versionAt = 60;
constexpr int applicationIdAt = 68;

QStringList statements(const QString& script)
{
    QStringList result;
    QString statement;
    const QStringList lines = script.split(QLatin1Char('\n'));
    for (const QString& line : lines) {
        if (line.trimmed().startsWith(QLatin1String("--")))
            continue;
        statement += line;
        statement += QLatin1Char('\n');
        if (line.trimmed().endsWith(QLatin1Char(';'))) {
            result.append(statement.trimmed());
            statement.clear();
        }
    }
    return result;
}

} // namespace

QList<QStringList> Schema::scripts(const QString& folder)
{
    QList<QStringList> result;
    for (;;) {
        QFile file(folder + QStringLiteral("/%1.sql").arg(result.size() + 1, 3, 10, QLatin1Char('0')));
        if (!file.open(QIODevice::ReadOnly))
            return result;
        result.append(statements(QString::fromUtf8(file.readAll())));
    }
}

QString Schema::newerText(const QString& location, int version, int newest)
{
    return location
           + QStringLiteral(" has version %1, this program knows versions up to %2; use a newer program")
                 .arg(version)
                 .arg(newest);
}

QString Schema::refusal(const QString& path, int newest)
{
    const QFileInfo info(path);
    if (info.isDir())
        return path + QLatin1String(" is a folder, not a database");
    if (!info.isFile())
        return path + QLatin1String(" is not a file");
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return path + QLatin1String(" cannot be read: ") + file.errorString();
    const QByteArray header = file.read(headerSize);
    // An empty file is what a program leaves behind that was killed before its first change.
    if (header.isEmpty())
        return QString();
    const auto number = [&](int at) { return qFromBigEndian<qint32>(header.constData() + at); };
    if (header.size() < headerSize || !header.startsWith(QByteArrayLiteral("SQLite format 3\0"))
        || number(applicationIdAt) != applicationId)
        return path + QLatin1String(" is not a database of this system");
    if (number(versionAt) > newest)
        return newerText(path, number(versionAt), newest);
    return QString();
}

bool Schema::migrate(SqlConnection& connection, const QString& location, const QList<QStringList>& scripts,
                     QString* errorString)
{
    const QString undo = QStringLiteral("ROLLBACK");
    const auto failed = [&] {
        *errorString = connection.error();
        connection.run(undo);
        return false;
    };
    for (;;) {
        if (!connection.beginWrite(true))
            return failed();
        // Looked up under the lock: another process may have been here meanwhile.
        const int present = connection.version();
        if (present < 0)
            return failed();
        if (present >= scripts.size()) {
            connection.run(undo);
            if (present > scripts.size())
                *errorString = newerText(location, present, scripts.size());
            return present == scripts.size();
        }
        // A new installation is made at once: what is half made would be taken for an older one, and copied.
        const int last = present == 0 ? int(scripts.size()) : present + 1;
        for (int version = present; version < last; ++version) {
            for (const QString& statement : scripts.at(version)) {
                if (!connection.run(statement))
                    return failed();
            }
            if (!connection.setVersion(version + 1))
                return failed();
        }
        if (!connection.run(QStringLiteral("COMMIT")))
            return failed();
    }
}
