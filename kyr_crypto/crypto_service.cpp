#include <kyr_crypto/crypto_service.h>

#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

#include <algorithm>
#include <array>
#include <memory>

namespace {

struct KeyDeleter
{
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};
struct DigestContextDeleter
{
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
};
using Key = std::unique_ptr<EVP_PKEY, KeyDeleter>;
using DigestContext = std::unique_ptr<EVP_MD_CTX, DigestContextDeleter>;

// Drops the errors that the calls between its construction and destruction put into OpenSSL's queue; earlier ones stay.
class ErrorQueueGuard
{
public:
    ErrorQueueGuard() { ERR_set_mark(); }
    ~ErrorQueueGuard() { ERR_pop_to_mark(); }
    ErrorQueueGuard(const ErrorQueueGuard&) = delete;
    ErrorQueueGuard& operator=(const ErrorQueueGuard&) = delete;
};

const unsigned char* bytes(const QByteArray& array)
{
    return reinterpret_cast<const unsigned char*>(array.constData());
}

Key acceptedRsaKey(Key key, const unsigned char* end, const QByteArray& der)
{
    const bool wholeInput = end == bytes(der) + der.size();
    return key && wholeInput && EVP_PKEY_base_id(key.get()) == EVP_PKEY_RSA ? std::move(key) : Key();
}

Key readPrivateKey(const QByteArray& der)
{
    const unsigned char* position = bytes(der);
    Key key(d2i_AutoPrivateKey(nullptr, &position, der.size()));
    return acceptedRsaKey(std::move(key), position, der);
}

// Where the PKCS#1 key begins in an RSA key of the usual SubjectPublicKeyInfo form; null for any other. Reading that
// part takes a tenth of the time that OpenSSL 3 takes to find a decoder for the whole.
const unsigned char* pkcs1Part(const QByteArray& der)
{
    static constexpr std::array<unsigned char, 15> rsaEncryption = {0x30, 0x0D, 0x06, 0x09, 0x2A, 0x86, 0x48, 0x86,
                                                                    0xF7, 0x0D, 0x01, 0x01, 0x01, 0x05, 0x00};
    const unsigned char* position = bytes(der);
    const unsigned char* const end = position + der.size();
    long length = 0;
    int tag = 0;
    int tagClass = 0;
    if (ASN1_get_object(&position, &length, &tag, &tagClass, end - position) != V_ASN1_CONSTRUCTED
        || tag != V_ASN1_SEQUENCE || position + length != end || length < long(rsaEncryption.size())
        || !std::equal(rsaEncryption.begin(), rsaEncryption.end(), position))
        return nullptr;
    position += rsaEncryption.size();
    const bool isBitString = ASN1_get_object(&position, &length, &tag, &tagClass, end - position) == 0
                             && tag == V_ASN1_BIT_STRING && tagClass == V_ASN1_UNIVERSAL && position + length == end;
    return isBitString && length > 1 && *position == 0 ? position + 1 : nullptr;
}

Key readPublicKey(const QByteArray& der)
{
    if (const unsigned char* part = pkcs1Part(der)) {
        Key key(d2i_PublicKey(EVP_PKEY_RSA, nullptr, &part, bytes(der) + der.size() - part));
        return acceptedRsaKey(std::move(key), part, der);
    }
    const unsigned char* position = bytes(der);
    Key key(d2i_PUBKEY(nullptr, &position, der.size()));
    if (!key) {
        position = bytes(der);
        key.reset(d2i_PublicKey(EVP_PKEY_RSA, nullptr, &position, der.size()));
    }
    return acceptedRsaKey(std::move(key), position, der);
}

// The thread's last private key. A device signs with one key all its life; reading it and preparing its blinding anew
// costs as much as the signature.
const Key& privateKey(const QByteArray& der)
{
    struct Kept
    {
        ~Kept() { OPENSSL_cleanse(der.data(), static_cast<size_t>(der.size())); }
        QByteArray der;
        Key key;
    };
    thread_local Kept kept;
    if (!kept.key || kept.der != der) {
        kept.key = readPrivateKey(der);
        OPENSSL_cleanse(kept.der.data(), static_cast<size_t>(kept.der.size()));
        kept.der = QByteArray(der.constData(), der.size());
    }
    return kept.key;
}

} // namespace

QByteArray CCryptoService::getRsaSign(const QByteArray& data, const QByteArray& privateKeyDer)
{
    const ErrorQueueGuard guard;
    const Key& key = privateKey(privateKeyDer);
    const DigestContext context(EVP_MD_CTX_new());
    if (!key || !context || EVP_DigestSignInit(context.get(), nullptr, EVP_sha256(), nullptr, key.get()) != 1)
        return {};
    size_t length = 0;
    const size_t dataLength = static_cast<size_t>(data.size());
    if (EVP_DigestSign(context.get(), nullptr, &length, bytes(data), dataLength) != 1)
        return {};
    QByteArray signature(static_cast<int>(length), Qt::Uninitialized);
    auto* out = reinterpret_cast<unsigned char*>(signature.data());
    if (EVP_DigestSign(context.get(), out, &length, bytes(data), dataLength) != 1)
        return {};
    signature.truncate(static_cast<int>(length));
    return signature;
}

bool CCryptoService::verifyRsaSign(const QByteArray& data, const QByteArray& signature, const QByteArray& publicKeyDer)
{
    const ErrorQueueGuard guard;
    const Key key = readPublicKey(publicKeyDer);
    const DigestContext context(EVP_MD_CTX_new());
    return key && context && EVP_DigestVerifyInit(context.get(), nullptr, EVP_sha256(), nullptr, key.get()) == 1
           && EVP_DigestVerify(context.get(), bytes(signature), static_cast<size_t>(signature.size()), bytes(data),
                               static_cast<size_t>(data.size()))
                  == 1;
}
