#include <foundation/network/signaling_mac_p.h>

#include <openssl/crypto.h>
#include <openssl/evp.h>

#include <memory>

namespace {

// Volatile, or the compiler would unscramble the key when it builds and leave it in the file as it is.
#include "signaling_key.inc"

class Key
{
public:
    Key()
    {
        for (unsigned int i = 0; i < size; ++i)
            m_bytes[(i * 11 + 5) % size] = scrambledKey[i] ^ keyMasks[i];
    }
    ~Key() { OPENSSL_cleanse(m_bytes, size); }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;

    static constexpr unsigned int size = sizeof scrambledKey;
    const unsigned char* bytes() const { return m_bytes; }

private:
    unsigned char m_bytes[size] = {};
};

struct ContextDeleter
{
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); } // wipes what it knows of the key
};

} // namespace

QByteArray signalingMac(const QByteArray& body)
{
    const std::unique_ptr<EVP_MD_CTX, ContextDeleter> context(EVP_MD_CTX_new());
    QByteArray digest(EVP_MAX_MD_SIZE, Qt::Uninitialized);
    unsigned int size = 0;
    const Key key;
    if (!context || EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) != 1
        || EVP_DigestUpdate(context.get(), key.bytes(), Key::size) != 1
        || EVP_DigestUpdate(context.get(), body.constData(), static_cast<size_t>(body.size())) != 1
        || EVP_DigestFinal_ex(context.get(), reinterpret_cast<unsigned char*>(digest.data()), &size) != 1)
        return QByteArray();
    digest.truncate(static_cast<int>(size));
    return digest.toHex();
}

bool isSignalingMac(const QByteArray& mac, const QByteArray& body)
{
    const QByteArray expected = signalingMac(body);
    return !expected.isEmpty() && mac.size() == expected.size()
           && CRYPTO_memcmp(mac.constData(), expected.constData(), static_cast<size_t>(expected.size())) == 0;
}
