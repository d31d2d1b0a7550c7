#include <server/audit/audit_head.h>

#include <server/database/new_file_p.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QtEndian>

#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>

namespace {

template<typename Type, void (*release)(Type*)>
struct Release
{
    void operator()(Type* object) const { release(object); }
};
using Key = std::unique_ptr<EVP_PKEY, Release<EVP_PKEY, EVP_PKEY_free>>;
using KeyContext = std::unique_ptr<EVP_PKEY_CTX, Release<EVP_PKEY_CTX, EVP_PKEY_CTX_free>>;
using DigestContext = std::unique_ptr<EVP_MD_CTX, Release<EVP_MD_CTX, EVP_MD_CTX_free>>;
struct ReleaseBio
{
    void operator()(BIO* bio) const { BIO_free(bio); }
};
using Bio = std::unique_ptr<BIO, ReleaseBio>;

constexpr int signatureSize = 64;
constexpr int hashSize = 32;
constexpr qint64 largestKeyFile = 16384;

const unsigned char* bytes(const QByteArray& data)
{
    return reinterpret_cast<const unsigned char*>(data.constData());
}

QByteArray content(BIO* bio)
{
    char* data = nullptr;
    const long size = BIO_get_mem_data(bio, &data);
    return QByteArray(data, int(size));
}

} // namespace

struct AuditKey::Private
{
    Key key;
};

AuditKey::AuditKey()
    : d(new Private)
{
}

AuditKey::~AuditKey() = default;

bool AuditKey::isValid() const
{
    return bool(d->key);
}

bool AuditKey::generate(QString& error)
{
    d->key.reset();
    const KeyContext context(EVP_PKEY_CTX_new_id(EVP_PKEY_ED25519, nullptr));
    EVP_PKEY* key = nullptr;
    if (!context || EVP_PKEY_keygen_init(context.get()) != 1 || EVP_PKEY_keygen(context.get(), &key) != 1) {
        ERR_clear_error();
        error = QStringLiteral("could not make a key");
        return false;
    }
    d->key.reset(key);
    return true;
}

bool AuditKey::load(const QString& fileName, bool create, QString& error)
{
    d->key.reset();
    QFile file(fileName);
    if (!file.exists()) {
        if (!create) {
            error = QStringLiteral("there is no key \"%1\"").arg(fileName);
            return false;
        }
        if (!generate(error))
            return false;
        // Beside a database on a server nothing was written so far.
        QString reason;
        if (!NewFile::makeFolder(fileName, &reason)) {
            error = QStringLiteral("could not make the folder of the key \"%1\": %2").arg(fileName, reason);
            d->key.reset();
            return false;
        }
        const Bio bio(BIO_new(BIO_s_mem()));
        PEM_write_bio_PrivateKey(bio.get(), d->key.get(), nullptr, nullptr, 0, nullptr, nullptr);
        // Complete under another name first, and never in place of one that another process has made meanwhile.
        QFile fresh(fileName + QStringLiteral(".%1.new").arg(QCoreApplication::applicationPid()));
        fresh.remove();
        const QByteArray pem = content(bio.get());
        const bool made = fresh.open(QIODevice::WriteOnly) && fresh.setPermissions(QFile::ReadOwner | QFile::WriteOwner)
                          && fresh.write(pem) == pem.size() && fresh.flush();
        fresh.close();
        const bool named = made && fresh.rename(fileName);
        if (!named) {
            error = QStringLiteral("could not write the key \"%1\": %2").arg(fileName, fresh.errorString());
            fresh.remove();
            d->key.reset();
            // Another process was faster: its key counts.
            return QFile::exists(fileName) && load(fileName, false, error);
        }
        return true;
    }
    if (!file.open(QIODevice::ReadOnly)) {
        error = QStringLiteral("could not read the key \"%1\": %2").arg(fileName, file.errorString());
        return false;
    }
    const QByteArray pem = file.read(largestKeyFile);
    const Bio bio(BIO_new_mem_buf(pem.constData(), int(pem.size())));
    // No pass phrase is asked for on a terminal: an empty one is tried.
    d->key.reset(PEM_read_bio_PrivateKey(bio.get(), nullptr, nullptr, const_cast<char*>("")));
    ERR_clear_error();
    if (!d->key || EVP_PKEY_id(d->key.get()) != EVP_PKEY_ED25519) {
        d->key.reset();
        error = QStringLiteral("\"%1\" contains no Ed25519 key").arg(fileName);
        return false;
    }
    return true;
}

QByteArray AuditKey::sign(const QByteArray& data) const
{
    const DigestContext context(EVP_MD_CTX_new());
    QByteArray signature(signatureSize, '\0');
    std::size_t size = signatureSize;
    if (!d->key || EVP_DigestSignInit(context.get(), nullptr, nullptr, nullptr, d->key.get()) != 1
        || EVP_DigestSign(context.get(), reinterpret_cast<unsigned char*>(signature.data()), &size, bytes(data),
                          std::size_t(data.size()))
               != 1) {
        ERR_clear_error();
        return {};
    }
    return signature;
}

bool AuditKey::verify(const QByteArray& data, const QByteArray& signature) const
{
    const DigestContext context(EVP_MD_CTX_new());
    const bool ok = d->key && EVP_DigestVerifyInit(context.get(), nullptr, nullptr, nullptr, d->key.get()) == 1
                    && EVP_DigestVerify(context.get(), bytes(signature), std::size_t(signature.size()), bytes(data),
                                        std::size_t(data.size()))
                           == 1;
    ERR_clear_error();
    return ok;
}

QByteArray AuditKey::publicPem() const
{
    if (!d->key)
        return {};
    const Bio bio(BIO_new(BIO_s_mem()));
    PEM_write_bio_PUBKEY(bio.get(), d->key.get());
    return content(bio.get());
}

QByteArray AuditHead::signedBytes() const
{
    QByteArray data;
    for (const qint64 number : {chain, seq, at}) {
        const qint64 bigEndian = qToBigEndian(number);
        data.append(reinterpret_cast<const char*>(&bigEndian), sizeof bigEndian);
    }
    return data + hash;
}

QByteArray AuditHead::toLine() const
{
    // Written by hand: the order of the fields is that of the words in which they are explained, and the numbers keep
    // all digits.
    return "{\"chain\":" + QByteArray::number(chain) + ",\"seq\":" + QByteArray::number(seq) + ",\"at\":"
           + QByteArray::number(at) + ",\"hash\":\"" + hash.toHex() + "\",\"signature\":\"" + signature.toHex() + "\"}";
}

bool AuditHead::fromLine(const QByteArray& line, AuditHead& head)
{
    if (line.size() > 1024)
        return false;
    const QJsonObject object = QJsonDocument::fromJson(line).object();
    head.chain = qint64(object.value(QStringLiteral("chain")).toDouble());
    head.seq = qint64(object.value(QStringLiteral("seq")).toDouble());
    head.at = qint64(object.value(QStringLiteral("at")).toDouble());
    head.hash = QByteArray::fromHex(object.value(QStringLiteral("hash")).toString().toLatin1());
    head.signature = QByteArray::fromHex(object.value(QStringLiteral("signature")).toString().toLatin1());
    return head.chain > 0 && head.seq > 0 && head.hash.size() == hashSize && head.signature.size() == signatureSize;
}
