#pragma once

#include <server/database/export.h>

#include <QtCore/QMap>
#include <QtCore/QString>

/// The numbers under which a server has told something, noted outside the database. One that was restored from an older
/// copy would give them a second time, for something else.
class KYR_SERVER_TEST_EXPORT ToldNumbers
{
public:
    /// Reads what an earlier run has noted. Without a file nothing is noted and nothing doubted.
    void open(const QString& file);
    /// Whether a source may go on behind `seq`, of this epoch: nothing higher was told, and nothing of another one.
    bool isContinued(const QString& source, const QString& epoch, qint64 seq) const;
    void note(const QString& source, const QString& epoch, qint64 seq);
    /// False when it cannot be written; the first time with a line in the log.
    bool write();

private:
    struct Told
    {
        QString epoch;
        qint64 seq;
    };
    QString m_file;
    QMap<QString, Told> m_told;
    bool m_isFaulty = false;
};
