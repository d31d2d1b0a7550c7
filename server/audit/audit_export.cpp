#include <server/audit/audit_trail_p.h>

#include <foundation/core/qt_compat_p.h>
#include <foundation/formats/csv_writer.h>

#include <QtCore/QIODevice>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QTextStream>

namespace {

bool writeHeads(const QList<AuditHead>& heads, QIODevice& file)
{
    for (const AuditHead& head : heads) {
        const QByteArray line = head.toLine() + '\n';
        if (file.write(line) != line.size())
            return false;
    }
    return true;
}

// A JSON text for a text.
QByteArray quotedJson(const QString& text)
{
    const QByteArray list = QJsonDocument(QJsonArray{text}).toJson(QJsonDocument::Compact);
    return list.mid(1, list.size() - 2);
}

QByteArray jsonLine(const AuditRecord& record)
{
    return "{\"chain\":" + QByteArray::number(record.chain) + ",\"seq\":" + QByteArray::number(record.seq)
           + ",\"at\":" + QByteArray::number(record.at) + ",\"recorded\":" + QByteArray::number(record.recorded)
           + ",\"kind\":" + QByteArray::number(record.kind)
           + ",\"payload\":" + (record.payload.isNull() ? "null" : quotedJson(QString::fromUtf8(record.payload)))
           + ",\"payloadHash\":\"" + record.payloadHash.toHex() + "\",\"hash\":\"" + record.hash.toHex() + "\"}\n";
}

} // namespace

// The export is an event itself, and what is exported ends with it and a head.
static bool noteExport(CAuditTrail& trail, const QString& form)
{
    AuditEvent event;
    event.kind = AuditKind::Export;
    event.details.insert(QStringLiteral("what"), form);
    return trail.append(event) && !trail.signHeads(QStringLiteral("request")).isEmpty();
}

bool CAuditTrail::exportJsonLines(QIODevice& file, QIODevice& headFile)
{
    if (!noteExport(*this, QStringLiteral("jsonl")))
        return false;
    const QList<AuditHead> kept = heads();
    const bool written = d->forEach([&](const AuditRecord& record, SqlStatement&) {
        const QByteArray line = jsonLine(record);
        return file.write(line) == line.size() || d->fail(file.errorString());
    });
    return written && (writeHeads(kept, headFile) || d->fail(headFile.errorString()));
}

bool CAuditTrail::exportCsv(QIODevice& file, QIODevice& headFile)
{
    if (!noteExport(*this, QStringLiteral("csv")))
        return false;
    const QList<AuditHead> kept = heads();
    CCsvWriter writer;
    writer.setColumns({0, 1, 2, 3, 4, 5, 6, 7});
    QTextStream out(&file);
    QtCompat::setUtf8(out);
    writer.writeHeader(out, {QStringLiteral("chain"), QStringLiteral("seq"), QStringLiteral("at"),
                             QStringLiteral("recorded"), QStringLiteral("kind"), QStringLiteral("payload"),
                             QStringLiteral("payloadHash"), QStringLiteral("hash")});
    const bool read = d->forEach([&](const AuditRecord& record, SqlStatement&) {
        writer.writeRow(out, {record.chain, record.seq, record.at, record.recorded, record.kind,
                              QString::fromUtf8(record.payload), QString::fromLatin1(record.payloadHash.toHex()),
                              QString::fromLatin1(record.hash.toHex())});
        return out.status() == QTextStream::Ok || d->fail(file.errorString());
    });
    out.flush();
    if (read && out.status() != QTextStream::Ok)
        return d->fail(file.errorString());
    return read && (writeHeads(kept, headFile) || d->fail(headFile.errorString()));
}
