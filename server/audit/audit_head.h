#pragma once

#include <server/database/export.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <memory>

/// The key that signs the heads of an audit trail, Ed25519.
///
/// It is made beside the database, mode 0600. Who holds it can rewrite the trail from the last head on that somebody
/// else keeps; so heads are worth what their distance from this machine is.
class KYR_SERVER_EXPORT AuditKey
{
public:
    AuditKey();
    ~AuditKey();
    AuditKey(const AuditKey&) = delete;
    AuditKey& operator=(const AuditKey&) = delete;

    /// Reads the key from a file in PEM; with `create` it is made when there is none. False with a reason.
    bool load(const QString& fileName, bool create, QString& error);
    /// A key that lives as long as this object, for a trail in memory.
    bool generate(QString& error);
    bool isValid() const;

    /// A signature of 64 bytes; empty without a key.
    QByteArray sign(const QByteArray& data) const;
    /// Whether this key has made the signature; false without a key.
    bool verify(const QByteArray& data, const QByteArray& signature) const;
    /// The public part, PEM; empty without a key.
    QByteArray publicPem() const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

/// A signed statement of where a chain stood: whoever keeps it sees later that the chain was cut or rewritten before
/// it. One line of JSON: {"chain":1,"seq":1000,"at":1795310000000,"hash":"…","signature":"…"}, the last two in
/// hexadecimal digits.
struct KYR_SERVER_EXPORT AuditHead
{
    qint64 chain = 0;
    qint64 seq = 0;
    qint64 at = 0; ///< when it was signed, ms since 1970 UTC
    QByteArray hash{};
    QByteArray signature{};
    QString reason{}; ///< why it was signed: "count", "hour", "end", "retention", "request"; not signed

    /// What the signature covers: chain, seq and at as 8 bytes each, big-endian, and the 32 bytes of the hash.
    QByteArray signedBytes() const;
    /// The line, without its end.
    QByteArray toLine() const;
    /// False for anything but such a line.
    static bool fromLine(const QByteArray& line, AuditHead& head);
};
