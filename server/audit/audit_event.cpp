#include <server/audit/audit_event.h>

#include <QtCore/QJsonDocument>
#include <QtCore/QtEndian>

#include <openssl/evp.h>
#include <openssl/rand.h>

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

// Random numbers of many salts at a time: to ask for each takes longer than all else that is done for an event.
QByteArray newSalt()
{
    constexpr std::size_t size = 16; // bytes
    constexpr std::size_t ahead = 64;
    static thread_local std::array<char, size * ahead> salts;
    static thread_local std::size_t used = ahead;
    if (used == ahead) {
        if (RAND_bytes(reinterpret_cast<unsigned char*>(salts.data()), int(salts.size())) != 1)
            qFatal("AuditRecord: there are no random numbers");
        used = 0;
    }
    return QByteArray(salts.data() + size * used++, int(size)).toHex();
}

const EVP_MD* sha256Method()
{
#if OPENSSL_VERSION_NUMBER >= 0x30000000L
    // What EVP_sha256() gives is looked up again at each use.
    static const EVP_MD* const method = EVP_MD_fetch(nullptr, "SHA256", nullptr);
    return method;
#else
    return EVP_sha256();
#endif
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

QStringList auditKindNames()
{
    QStringList names;
    for (const KindName& entry : kindNames)
        names.append(QString::fromLatin1(entry.name));
    return names;
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
    // Texts that need no escapes are put behind what the writer makes of the rest.
    QByteArray plain;
    const auto add = [&](const char* name, const QByteArray& value) {
        if (object.contains(QLatin1String(name)))
            object.remove(QLatin1String(name));
        plain += ",\"" + QByteArray(name) + "\":\"" + value + '"';
    };
    const auto addId = [&](const char* name, CItemId id) {
        if (id != CItemId())
            add(name, QByteArray::number(qint64(id)));
    };
    addId("accessPoint", event.accessPoint);
    addId("user", event.user);
    addId("medium", event.medium);
    add("salt", newSalt());
    if (!event.operatorName.isEmpty())
        object.insert(QStringLiteral("operator"), event.operatorName);
    if (object.isEmpty())
        return '{' + plain.mid(1) + '}';
    QByteArray payload = QJsonDocument(object).toJson(QJsonDocument::Compact);
    payload.chop(1);
    return payload + plain + '}';
}

QByteArray AuditRecord::sha256(const QByteArray& bytes)
{
    // A look through the trail computes two for each event; QCryptographicHash takes longer.
    QByteArray hash(32, Qt::Uninitialized);
    if (EVP_Digest(bytes.constData(), size_t(bytes.size()), reinterpret_cast<unsigned char*>(hash.data()), nullptr,
                   sha256Method(), nullptr)
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
