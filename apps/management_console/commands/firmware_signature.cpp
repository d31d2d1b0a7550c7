#include "commands/firmware_signature.h"

#include <foundation/formats/firmware_byte_array.h>

#include <QtCore/QtEndian>

#include <memory>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>

namespace {

using Key = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;
using DigestContext = std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)>;

const unsigned char* raw(const QByteArray& bytes)
{
    return reinterpret_cast<const unsigned char*>(bytes.constData());
}

// Without an answer, where OpenSSL would ask for a pass phrase at the terminal.
int noPassPhrase(char*, int, int, void*)
{
    return 0;
}

template<class Read>
Key readKey(const QByteArray& pem, Read read)
{
    const std::unique_ptr<BIO, decltype(&BIO_free)> memory(BIO_new_mem_buf(pem.constData(), int(pem.size())),
                                                           &BIO_free);
    Key key(memory ? read(memory.get(), nullptr, &noPassPhrase, nullptr) : nullptr, &EVP_PKEY_free);
    ERR_clear_error();
    const int kind = key ? EVP_PKEY_base_id(key.get()) : 0;
    return kind == EVP_PKEY_RSA || kind == EVP_PKEY_ED25519 ? std::move(key) : Key(nullptr, &EVP_PKEY_free);
}

const EVP_MD* digestOf(const Key& key)
{
    return EVP_PKEY_base_id(key.get()) == EVP_PKEY_ED25519 ? nullptr : EVP_sha256();
}

} // namespace

QByteArray FirmwareSignature::sign(const QByteArray& bytes, const QByteArray& privateKeyPem, QString& error)
{
    const Key key = readKey(privateKeyPem, &PEM_read_bio_PrivateKey);
    if (!key) {
        error = QStringLiteral(
            "the key file contains no private RSA or Ed25519 key that can be read without a pass phrase");
        return {};
    }
    const DigestContext context(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
    std::size_t size = 0;
    QByteArray signature;
    bool good = context && EVP_DigestSignInit(context.get(), nullptr, digestOf(key), nullptr, key.get()) == 1
                && EVP_DigestSign(context.get(), nullptr, &size, raw(bytes), std::size_t(bytes.size())) == 1;
    if (good) {
        signature.resize(int(size));
        good = EVP_DigestSign(context.get(), reinterpret_cast<unsigned char*>(signature.data()), &size, raw(bytes),
                              std::size_t(bytes.size()))
               == 1;
        signature.resize(good ? int(size) : 0);
    }
    ERR_clear_error();
    if (!good)
        error = QStringLiteral("the key cannot sign");
    return signature;
}

bool FirmwareSignature::verify(const QByteArray& bytes, const QByteArray& signature, const QByteArray& publicKeyPem,
                               QString& error)
{
    const Key key = readKey(publicKeyPem, &PEM_read_bio_PUBKEY);
    if (!key) {
        error = QStringLiteral("the key file contains no public RSA or Ed25519 key");
        return false;
    }
    const DigestContext context(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
    const bool good = context && EVP_DigestVerifyInit(context.get(), nullptr, digestOf(key), nullptr, key.get()) == 1
                      && EVP_DigestVerify(context.get(), raw(signature), std::size_t(signature.size()), raw(bytes),
                                          std::size_t(bytes.size()))
                             == 1;
    ERR_clear_error();
    if (!good)
        error = QStringLiteral("the signature does not match this file and this key");
    return good;
}

bool FirmwareSignature::isRecent(const QByteArray& bytes, quint32 leastVersion, QString& error)
{
    constexpr int versionAt = 4; // of data in format 4
    constexpr char format = 4;
    CFirmwareByteArray firmware(bytes);
    int part = 0;
    do {
        ++part;
        firmware.checkHeader();
        const QByteArray data = firmware.checkedData();
        if (data.size() < versionAt + 4 || data.at(0) != format) {
            error = QStringLiteral("part %1 has no version").arg(part);
            return false;
        }
        const auto version = qFromLittleEndian<quint32>(data.constData() + versionAt);
        if (version < leastVersion) {
            error = QStringLiteral("part %1 has version %2, but at least %3 is required")
                        .arg(part)
                        .arg(version)
                        .arg(leastVersion);
            return false;
        }
    } while (firmware.toNextPart());
    return true;
}
