#include "lock_store.h"

#include <QtCore/QDir>
#include <QtCore/QLockFile>
#include <QtCore/QSaveFile>

#if defined(Q_OS_WIN)
#    include <io.h>
#else
#    include <fcntl.h>
#    include <unistd.h>
#endif

namespace {

constexpr QFile::Permissions ownersOnly = QFile::ReadOwner | QFile::WriteOwner;
// A journal grows by so much more than what is left of it before it is rewritten.
constexpr qint64 roomForRecords = qint64(2) * 1024 * 1024;

bool syncFile(QFile& file)
{
#if defined(Q_OS_WIN)
    return ::_commit(file.handle()) == 0;
#else
    return ::fsync(file.handle()) == 0;
#endif
}

// What was renamed in it stays renamed.
void syncFolder(const QString& folder)
{
#if defined(Q_OS_WIN)
    Q_UNUSED(folder)
#else
    const int descriptor = ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
        return;
    ::fsync(descriptor);
    ::close(descriptor);
#endif
}

bool fault(QString* error, const QString& what)
{
    *error = what;
    return false;
}

// The zone as in the message that told it, then the offset of the clock.
QByteArray settingsToBytes(const CLockMemory& memory)
{
    return CLockMessage::toBytes(CLockCommand{0, CLockTime{0, memory.zone}}) + '\n'
           + QByteArray::number(memory.clockOffset) + '\n';
}

bool readSettings(const QByteArray& bytes, CLockMemory* memory)
{
    const QList<QByteArray> lines = bytes.split('\n');
    if (lines.size() != 3)
        return false;
    const CLockCommand command = CLockMessage::toDevice(lines.at(0));
    const auto* time = std::get_if<CLockTime>(&command.body);
    bool ok = false;
    const qint64 offset = lines.at(1).toLongLong(&ok);
    if (!time || !ok || offset < -CLockTime::latest || offset > CLockTime::latest)
        return false;
    memory->zone = time->zone;
    memory->clockOffset = offset;
    return true;
}

} // namespace

CLockStore::CLockStore(const QString& folder)
    : m_folder(QDir(folder).absolutePath())
{
}

CLockStore::~CLockStore() = default;

QString CLockStore::path(const char* name) const
{
    return m_folder + QLatin1Char('/') + QLatin1String(name);
}

// Empty for a file that is not there, nothing when it cannot be read; one that is too large is as good as damaged.
std::optional<QByteArray> CLockStore::read(const char* name, qint64 most, QString* error) const
{
    QFile file(path(name));
    if (!file.exists())
        return QByteArray();
    if (!file.open(QIODevice::ReadOnly)) {
        fault(error, QStringLiteral("cannot read \"%1\": %2").arg(file.fileName(), file.errorString()));
        return std::nullopt;
    }
    return file.size() <= most ? file.readAll() : QByteArray("?");
}

bool CLockStore::setAside(const char* name, QString* error) const
{
    const QString aside = path(name) + QLatin1String(".damaged");
    QFile::remove(aside);
    if (!QFile::rename(path(name), aside))
        return fault(error, QStringLiteral("cannot rename \"%1\"").arg(path(name)));
    qWarning("\"%s\" cannot be read and is now \"%s\"", qUtf8Printable(path(name)), qUtf8Printable(aside));
    return true;
}

bool CLockStore::replace(const char* name, const QByteArray& bytes, QString* error) const
{
    QSaveFile file(path(name));
    const bool good = file.open(QIODevice::WriteOnly) && file.setPermissions(ownersOnly)
                      && file.write(bytes) == bytes.size() && file.commit();
    if (!good)
        return fault(error, QStringLiteral("cannot write \"%1\": %2").arg(file.fileName(), file.errorString()));
    syncFolder(m_folder);
    return true;
}

bool CLockStore::replaceJournal(const CLockJournal& journal, QString* error)
{
    m_journal.close();
    m_isJournalDue = true;
    const QByteArray text = journal.toText();
    if (!replace("journal", text, error))
        return false;
    m_journal.setFileName(path("journal"));
    if (!m_journal.open(QIODevice::Append | QIODevice::Unbuffered))
        return fault(error,
                     QStringLiteral("cannot write \"%1\": %2").arg(m_journal.fileName(), m_journal.errorString()));
    m_rewriteAt = 2 * qint64(text.size()) + roomForRecords;
    m_isJournalDue = false;
    return true;
}

bool CLockStore::append(const QByteArray& records, QString* error)
{
    if (m_journal.write(records) == records.size() && syncFile(m_journal))
        return true;
    // Part of it may be there: it is written anew.
    m_isJournalDue = true;
    return fault(error, QStringLiteral("cannot write \"%1\": %2").arg(m_journal.fileName(), m_journal.errorString()));
}

std::optional<CLockMemory> CLockStore::open(int capacity, QString* error)
{
    if (!QDir().mkpath(m_folder)) {
        fault(error, QStringLiteral("cannot make the folder \"%1\"").arg(m_folder));
        return std::nullopt;
    }
    QFile::setPermissions(m_folder, ownersOnly | QFile::ExeOwner);
    m_inUse = std::make_unique<QLockFile>(path("lock"));
    m_inUse->setStaleLockTime(0);
    if (!m_inUse->tryLock()) {
        fault(error, QStringLiteral("\"%1\" is in use by another process, or cannot be written").arg(m_folder));
        return std::nullopt;
    }
    CLockMemory memory{QByteArray(), CLockJournal(capacity), {}, 0};
    const auto list = read("list", CLockList::largestText + 100, error);
    const auto settings = read("settings", CLockMessage::longest, error);
    const auto journalText = read("journal", CLockJournal::largestText, error);
    if (!list || !settings || !journalText)
        return std::nullopt;
    // The list's first line is its revision.
    const int firstEnd = list->indexOf('\n');
    const QByteArray text = list->mid(firstEnd + 1);
    if (firstEnd > 0 && CLockList::revisionOf(text) == list->left(firstEnd) && CLockList::fromText(text))
        memory.list = text;
    else if (!list->isEmpty() && !setAside("list", error))
        return std::nullopt;
    if (!settings->isEmpty() && !readSettings(*settings, &memory) && !setAside("settings", error))
        return std::nullopt;
    const std::optional<CLockJournal> journal = CLockJournal::fromText(*journalText, capacity);
    if (journal)
        memory.journal = *journal;
    else if (!journalText->isEmpty() && !setAside("journal", error))
        return std::nullopt;
    // Before anything else is told, its epoch is kept, and what was torn is gone.
    if (!replaceJournal(memory.journal, error))
        return std::nullopt;
    return memory;
}

bool CLockStore::keep(const CLock& lock, const CLockEffects& effects, QString* error)
{
    const CLockMemory& memory = lock.memory();
    m_isListDue = m_isListDue || effects.isListChanged;
    m_areSettingsDue = m_areSettingsDue || effects.isSettingsChanged;
    if (!effects.records.isEmpty() || m_isJournalDue) {
        const bool isLong = m_journal.size() + effects.records.size() > m_rewriteAt;
        if (!(m_isJournalDue || isLong ? replaceJournal(memory.journal, error) : append(effects.records, error)))
            return false;
    }
    if (m_isListDue && !replace("list", lock.revision() + '\n' + memory.list, error))
        return false;
    m_isListDue = false;
    if (m_areSettingsDue && !replace("settings", settingsToBytes(memory), error))
        return false;
    m_areSettingsDue = false;
    return true;
}
