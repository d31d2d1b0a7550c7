#pragma once

#include <foundation/core/export.h>

#include <QtCore/QByteArray>
#include <QtCore/QHashFunctions>
#include <QtCore/QString>

#include <tuple>

/// What is shown to a door: the UID of a medium, or a code. A value of 16 bytes, cheap to compare and to look up.
///
/// The length belongs to the identity: UIDs have 4, 7 or 8 bytes, codes 1 to 12 digits, and both may begin with zeros.
/// A code is as good as a key: it belongs into no log and no event.
class KYR_FOUNDATION_EXPORT CLockCredential
{
public:
    enum class Kind : quint8
    {
        None,
        Uid,
        Code,
    };

    CLockCredential() = default;
    /// None for another number of bytes.
    static CLockCredential fromUid(const QByteArray& uid);
    /// None for anything but 1 to 12 digits.
    static CLockCredential fromCode(const QString& digits);
    /// "04:A1:22:3B:5C:6D:80", in either case, with colons or without any; else none.
    static CLockCredential fromUidLabel(const QString& label);

    Kind kind() const { return m_kind; }
    bool isNone() const { return m_kind == Kind::None; }
    bool isUid() const { return m_kind == Kind::Uid; }
    bool isCode() const { return m_kind == Kind::Code; }

    /// Empty unless it is a UID.
    QByteArray uid() const;
    /// The UID with colons, in upper case, or the digits of the code; "" for none.
    QString toText() const;

    friend bool operator==(const CLockCredential& a, const CLockCredential& b)
    {
        return a.m_value == b.m_value && a.m_kind == b.m_kind && a.m_length == b.m_length;
    }
    friend bool operator!=(const CLockCredential& a, const CLockCredential& b) { return !(a == b); }
    friend bool operator<(const CLockCredential& a, const CLockCredential& b)
    {
        return std::tie(a.m_kind, a.m_length, a.m_value) < std::tie(b.m_kind, b.m_length, b.m_value);
    }
    friend auto qHash(const CLockCredential& credential, decltype(::qHash(0)) seed = 0)
    {
        const quint64 kindAndLength = quint64(credential.m_kind) << 60 | quint64(credential.m_length) << 56;
        return ::qHash(credential.m_value ^ kindAndLength, seed);
    }

private:
    // The bytes of the UID or the value of the digits.
    quint64 m_value = 0;
    Kind m_kind = Kind::None;
    // In bytes or digits.
    quint8 m_length = 0;
};

Q_DECLARE_TYPEINFO(CLockCredential, Q_MOVABLE_TYPE);
