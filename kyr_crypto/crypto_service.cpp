#include <kyr_crypto/crypto_service.h>

#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

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

Key readPublicKey(const QByteArray& der)
{
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
