#include <server/bridge/told_numbers_p.h>

#include <foundation/core/json_text.h>
#include <server/database/new_file_p.h>

#include <QtCore/QFile>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <utility>

void ToldNumbers::open(const QString& file)
{
    m_file = file;
    m_told.clear();
    QFile noted(file);
    if (file.isEmpty() || !noted.open(QIODevice::ReadOnly))
        return;
    constexpr qint64 longest = 4096;
    const QJsonObject sources = CJsonText::read(noted.read(longest)).object();
    for (auto source = sources.begin(); source != sources.end(); ++source) {
        const QJsonObject told = source.value().toObject();
        note(source.key(), told.value(QLatin1String("epoch")).toString(),
             qint64(told.value(QLatin1String("seq")).toDouble()));
    }
}

bool ToldNumbers::isContinued(const QString& source, const QString& epoch, qint64 seq) const
{
    if (m_file.isEmpty() || seq == 0)
        return true;
    const auto told = m_told.constFind(source);
    // Nothing is noted where the machine is a new one, or where somebody has taken the file away for this.
    return told != m_told.cend() && told->epoch == epoch && told->seq <= seq;
}

void ToldNumbers::note(const QString& source, const QString& epoch, qint64 seq)
{
    m_told.insert(source, {epoch, seq});
}

// Written over and not synchronized: what a power failure takes away here it takes from the last messages alone.
bool ToldNumbers::write()
{
    if (m_file.isEmpty())
        return true;
    QJsonObject sources;
    for (auto told = m_told.cbegin(); told != m_told.cend(); ++told)
        sources.insert(told.key(),
                       QJsonObject{{QStringLiteral("epoch"), told->epoch}, {QStringLiteral("seq"), told->seq}});
    const QByteArray text = QJsonDocument(sources).toJson(QJsonDocument::Compact) + '\n';
    QFile file(m_file);
    QString reason;
    const bool isMade =
        file.exists() || (NewFile::makeFolder(m_file, &reason) && NewFile::make(m_file, &reason) != NewFile::Failed);
    const bool isWritten = isMade && file.open(QIODevice::WriteOnly) && file.write(text) == text.size() && file.flush();
    if (!isWritten && !std::exchange(m_isFaulty, true))
        qWarning("\"%s\" cannot be written: %s; the next start begins a new epoch for subscribers of the broker",
                 qUtf8Printable(m_file), qUtf8Printable(isMade ? file.errorString() : reason));
    return isWritten;
}
