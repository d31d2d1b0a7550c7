#include <server/database/database_place_p.h>

#include <server/database/new_file_p.h>
#include <server/database/schema_p.h>
#include <server/database/sqlite_connection_p.h>

#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <utility>

namespace {

class FilePlace : public DatabasePlace
{
public:
    FilePlace(const QString& path, const QString& location, const QString& migrations)
        : m_path(path)
        , m_location(location)
        , m_scripts(Schema::scripts(migrations))
    {
    }

    QString backend() const override { return QStringLiteral("sqlite"); }
    // An empty file is one that a program was killed over before it had made anything.
    bool isThere() override { return QFileInfo(m_path).isDir() || QFileInfo(m_path).size() > 0; }
    void look() override;
    bool isLost(QString* error) const override;
    bool make(QString* error) override;
    std::shared_ptr<SqlConnection> open(QString* error) override;
    bool hasChanged() override;
    void reach() override;

private:
    bool copyBeforeMigration(int version, SqliteConnection& connection, QString* error);

    QString m_path;
    QString m_location;
    QList<QStringList> m_scripts;
    std::weak_ptr<SqliteConnection> m_connection;
    QByteArray m_identity; // of the file that is open
    bool m_isReplaced = false;
    qint64 m_seenVersion = 0;
};

// Of two programs that do it at once one waits for the other's migration.
bool FilePlace::make(QString* error)
{
    QString reason;
    if (NewFile::makeFolder(m_path, &reason) && NewFile::make(m_path, &reason) != NewFile::Failed)
        return true;
    *error = QStringLiteral("%1 cannot be made: %2").arg(m_location, reason);
    return false;
}

// Nothing is written but where the file is older than this program.
std::shared_ptr<SqlConnection> FilePlace::open(QString* error)
{
    *error = Schema::refusal(m_path, m_scripts.size());
    if (!error->isEmpty())
        return nullptr;
    std::shared_ptr<SqliteConnection> connection = SqliteConnection::open(m_path, m_location, error);
    if (!connection)
        return nullptr;
    const int version = connection->version();
    if (version < 0 || !connection->isReadable()) {
        *error = connection->error();
        return nullptr;
    }
    // The header may be older than the log beside the file.
    if (version > m_scripts.size()) {
        *error = Schema::newerText(m_location, version, m_scripts.size());
        return nullptr;
    }
    if (version < m_scripts.size()
        && ((version > 0 && !copyBeforeMigration(version, *connection, error))
            || !Schema::migrate(*connection, m_location, m_scripts, error)))
        return nullptr;
    // Readers then never wait for a writer; a file in another mode works, too.
    connection->run(QStringLiteral("PRAGMA journal_mode=WAL"));
    m_seenVersion = connection->dataVersion();
    m_connection = connection;
    m_identity = NewFile::identity(m_path);
    return connection;
}

// A file that was moved away under this program would take changes that nobody finds again.
void FilePlace::look()
{
    m_isReplaced = !m_identity.isEmpty() && NewFile::identity(m_path) != m_identity;
}

bool FilePlace::isLost(QString* error) const
{
    if (m_isReplaced)
        *error = QStringLiteral(
                     "%1 is no longer the file that was opened: move it back, or end this program, move %1-wal and "
                     "%1-shm to where it is now, and start again")
                     .arg(m_location);
    return m_isReplaced;
}

// Another file is not opened beside what the old one has left, which would be taken for its own.
void FilePlace::reach()
{
    look();
    if (m_isReplaced)
        Q_EMIT missed();
    else
        Q_EMIT reached();
}

bool FilePlace::hasChanged()
{
    const auto connection = m_connection.lock();
    const qint64 version = connection ? connection->dataVersion() : 0;
    return std::exchange(m_seenVersion, version) != version;
}

bool FilePlace::copyBeforeMigration(int version, SqliteConnection& connection, QString* error)
{
    const QString copy = m_path + QStringLiteral(".version-%1").arg(version);
    // What stands there is the same copy: this migration was begun before and not finished.
    if (QFileInfo(copy).size() > 0)
        return true;
    QFile::remove(copy);
    const QString part = copy + QLatin1String(".part");
    QFile::remove(part);
    QString reason;
    if (NewFile::make(part, &reason) != NewFile::Made) {
        *error = QStringLiteral("%1 cannot be copied before its version is raised: %2").arg(m_location, reason);
        return false;
    }
    if (!connection.copyTo(part)) {
        *error = connection.error();
        return false;
    }
    if (QFile::rename(part, copy) && NewFile::sync(copy))
        return true;
    *error = QStringLiteral("%1 cannot be made before the version of %2 is raised").arg(copy, m_location);
    return false;
}

} // namespace

std::unique_ptr<DatabasePlace> makeFilePlace(const QString& path, const QString& location, const QString& migrations)
{
    return std::make_unique<FilePlace>(path, location, migrations);
}
