#include <server/model/password_hash.h>

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>

#include <QtCore/QStringList>

namespace {

constexpr int saltLength = 16;
constexpr int hashLength = 32;
// Bounds for what a file may ask for.
constexpr quint64 mostMemory = quint64(256) * 1024 * 1024;
const QString scryptName = QStringLiteral("scrypt");
const QString scryptParameters = QStringLiteral("N=32768,r=8,p=1");

QByteArray scrypt(const QString& password, const QByteArray& salt, const QString& parameters)
{
    quint64 n = 0;
    quint64 r = 0;
    quint64 p = 0;
    const QStringList parts = parameters.split(QLatin1Char(','));
    for (const QString& part : parts) {
        const quint64 number = part.mid(2).toULongLong();
        if (part.startsWith(QLatin1String("N=")))
            n = number;
        else if (part.startsWith(QLatin1String("r=")))
            r = number;
        else if (part.startsWith(QLatin1String("p=")))
            p = number;
    }
    if (n < 2 || r < 1 || p < 1 || p > 16 || r > 64 || n > mostMemory / (128 * r))
        return QByteArray();
    QByteArray key(hashLength, '\0');
    QByteArray bytes = password.toUtf8();
    const bool good =
        EVP_PBE_scrypt(bytes.constData(), size_t(bytes.size()),
                       reinterpret_cast<const unsigned char*>(salt.constData()), size_t(salt.size()), n, r, p,
                       mostMemory + (1 << 20), reinterpret_cast<unsigned char*>(key.data()), hashLength)
        == 1;
    OPENSSL_cleanse(bytes.data(), size_t(bytes.size()));
    return good ? key : QByteArray();
}

} // namespace

CPasswordHash CPasswordHash::make(const QString& password)
{
    CPasswordHash made;
    if (password.isEmpty() || password.toUtf8().size() > longestPassword)
        return made;
    made.algorithm = scryptName;
    made.parameters = scryptParameters;
    made.salt = QByteArray(saltLength, '\0');
    if (RAND_bytes(reinterpret_cast<unsigned char*>(made.salt.data()), saltLength) == 1)
        made.hash = scrypt(password, made.salt, made.parameters);
    return made;
}

bool CPasswordHash::matches(const QString& password) const
{
    if (password.toUtf8().size() > longestPassword)
        return false;
    const bool isKnown = isValid() && algorithm == scryptName;
    // For an unknown name, too: how long a refusal takes must not tell which names there are.
    const QByteArray key =
        scrypt(password, isKnown ? salt : QByteArray(saltLength, '\0'), isKnown ? parameters : scryptParameters);
    return isKnown && key.size() == hash.size()
           && CRYPTO_memcmp(key.constData(), hash.constData(), size_t(hash.size())) == 0;
}
