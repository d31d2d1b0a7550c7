#pragma once

#include <foundation/access/lock.h>

#include <QtCore/QFile>

#include <memory>

class QLockFile;

/// Keeps a lock's memory in a folder of its own: `list` and `settings`, each replaced as a whole, and `journal`, to
/// which records are appended and which is rewritten when it has grown. Whenever the power fails, what is read
/// afterwards is what was kept last, or what was being kept then; never half of it.
///
/// Codes stand in the list, so the folder and its files are their owner's alone.
class KYR_FOUNDATION_EXPORT CLockStore
{
public:
    explicit CLockStore(const QString& folder);
    ~CLockStore();

    /// Makes the folder at need and reads what is in it. What cannot be read is set aside under a name that ends with
    /// ".damaged", and the lock begins anew there: without a list, or with a new epoch. Nothing, with the reason, when
    /// the folder cannot be used, or another process uses it.
    std::optional<CLockMemory> open(int capacity, QString* error);

    /// Keeps what the effects say has changed. False with the reason when it could not; the next call tries again.
    bool keep(const CLock& lock, const CLockEffects& effects, QString* error);

private:
    QString path(const char* name) const;
    std::optional<QByteArray> read(const char* name, qint64 most, QString* error) const;
    bool setAside(const char* name, QString* error) const;
    bool replace(const char* name, const QByteArray& bytes, QString* error) const;
    bool replaceJournal(const CLockJournal& journal, QString* error);
    bool append(const QByteArray& records, QString* error);

    QString m_folder;
    std::unique_ptr<QLockFile> m_inUse;
    QFile m_journal;
    qint64 m_rewriteAt = 0; // bytes of the journal
    bool m_isListDue = false;
    bool m_areSettingsDue = false;
    bool m_isJournalDue = false;
};
