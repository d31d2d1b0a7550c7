#pragma once

#include <foundation/core/export.h>

#include <QtCore/QMetaType>

class QDataStream;

/// Which build of the board firmware a device runs: a 24-bit version, a 24-bit hash of the sources, and whether these
/// had been changed since.
class KYR_FOUNDATION_EXPORT CMiraRevision
{
public:
    constexpr CMiraRevision() = default;
    /// Stores the values as they are.
    constexpr CMiraRevision(unsigned int version, unsigned int hash, bool dirty)
        : m_version(version)
        , m_hash(hash)
        , m_dirty(dirty)
    {
    }
    /// Keeps the low 24 bits of the two numbers.
    constexpr CMiraRevision(qint64 version, qint64 hash, bool dirty)
        : m_version(low24(version))
        , m_hash(low24(hash))
        , m_dirty(dirty)
    {
    }

    void setVersion(unsigned int version) { m_version = version; }
    constexpr unsigned int getVersion() const { return m_version; }
    void setHash(unsigned int hash) { m_hash = hash; }
    constexpr unsigned int getHash() const { return m_hash; }
    void setDirty(bool dirty) { m_dirty = dirty; }
    constexpr bool isDirty() const { return m_dirty; }

    /// Compare with the low 24 bits of the number; a stored value above 24 bits never matches.
    constexpr bool matchesVersion(qint64 version) const { return m_version == low24(version); }
    constexpr bool matchesHash(qint64 hash) const { return m_hash == low24(hash); }

    constexpr bool operator==(const CMiraRevision& other) const
    {
        return m_version == other.m_version && m_hash == other.m_hash && m_dirty == other.m_dirty;
    }
    constexpr bool operator!=(const CMiraRevision& other) const { return !(*this == other); }

private:
    static constexpr quint32 low24(qint64 value) { return static_cast<quint32>(value & 0xFFFFFF); }

    quint32 m_version = 0;
    quint32 m_hash = 0;
    bool m_dirty = false;
};

Q_DECLARE_METATYPE(CMiraRevision)

/// Version and hash as qint32, then one byte; read back without a check.
KYR_FOUNDATION_EXPORT QDataStream& operator<<(QDataStream& stream, const CMiraRevision& revision);
KYR_FOUNDATION_EXPORT QDataStream& operator>>(QDataStream& stream, CMiraRevision& revision);
