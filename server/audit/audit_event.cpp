#include <server/audit/audit_event.h>

#include <QtCore/QJsonDocument>
#include <QtCore/QRandomGenerator>
#include <QtCore/QtEndian>

#include <openssl/evp.h>

#include <array>

namespace {

struct KindName
{
    AuditKind kind;
    const char* name;
};

constexpr std::array<KindName, 14> kindNames = {{
    {AuditKind::Granted, "granted"},
    {AuditKind::Denied, "denied"},
    {AuditKind::Forced, "forced"},
    {AuditKind::Held, "held"},
    {AuditKind::Opened, "opened"},
    {AuditKind::Changed, "changed"},
    {AuditKind::Login, "login"},
    {AuditKind::LoginRefused, "loginRefused"},
    {AuditKind::Refused, "refused"},
    {AuditKind::Start, "start"},
    {AuditKind::End, "end"},
    {AuditKind::Clock, "clock"},
    {AuditKind::Export, "export"},
    {AuditKind::Retention, "retention"},
}};

template<typename Number>
void addNumber(QByteArray& bytes, Number number)
{
    const Number bigEndian = qToBigEndian(number);
    bytes.append(reinterpret_cast<const char*>(&bigEndian), int(sizeof bigEndian));
}

void addId(QJsonObject& object, const QString& name, CItemId id)
{
    if (id != CItemId())
        object.insert(name, QString::number(qint64(id)));
}

} // namespace

QString auditKindName(AuditKind kind)
{
    for (const KindName& entry : kindNames) {
        if (entry.kind == kind)
            return QString::fromLatin1(entry.name);
    }
    return {};
}

std::optional<AuditKind> auditKindFromName(const QString& name)
{
    for (const KindName& entry : kindNames) {
        if (name == QLatin1String(entry.name))
            return entry.kind;
    }
    return std::nullopt;
}

QByteArray AuditRecord::makePayload(const AuditEvent& event)
{
    QJsonObject object = event.details;
    addId(object, QStringLiteral("accessPoint"), event.accessPoint);
    addId(object, QStringLiteral("user"), event.user);
    addId(object, QStringLiteral("medium"), event.medium);
    if (!event.operatorName.isEmpty())
        object.insert(QStringLiteral("operator"), event.operatorName);
    std::array<quint32, 4> salt{};
    QRandomGenerator::system()->fillRange(salt.data(), qsizetype(salt.size()));
    object.insert(
        QStringLiteral("salt"),
        QString::fromLatin1(QByteArray(reinterpret_cast<const char*>(salt.data()), int(sizeof salt)).toHex()));
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

QByteArray AuditRecord::sha256(const QByteArray& bytes)
{
    // A look through the trail computes two for each event; QCryptographicHash takes longer.
    QByteArray hash(32, Qt::Uninitialized);
    if (EVP_Digest(bytes.constData(), size_t(bytes.size()), reinterpret_cast<unsigned char*>(hash.data()), nullptr,
                   EVP_sha256(), nullptr)
        != 1)
        qFatal("AuditRecord: there is no SHA-256");
    return hash;
}

void AuditRecord::seal(const QByteArray& previous)
{
    payloadHash = sha256(payload);
    hash = expectedHash(previous);
}

QByteArray AuditRecord::expectedHash(const QByteArray& previous) const
{
    QByteArray bytes;
    bytes.reserve(previous.size() + payloadHash.size() + int(4 * sizeof chain + sizeof kind));
    bytes.append(previous);
    addNumber(bytes, chain);
    addNumber(bytes, seq);
    addNumber(bytes, at);
    addNumber(bytes, recorded);
    addNumber(bytes, kind);
    bytes.append(payloadHash);
    return sha256(bytes);
}

QJsonObject AuditRecord::details() const
{
    return QJsonDocument::fromJson(payload).object();
}
