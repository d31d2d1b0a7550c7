#include "lock_credential.h"

#include <foundation/datatypes/data_type.h>

#include <QtCore/QtEndian>

CLockCredential CLockCredential::fromUid(const QByteArray& uid)
{
    CLockCredential credential;
    if (uid.size() != 4 && uid.size() != 7 && uid.size() != 8)
        return credential;
    credential.m_kind = Kind::Uid;
    credential.m_length = quint8(uid.size());
    for (const char byte : uid)
        credential.m_value = credential.m_value << 8 | quint8(byte);
    return credential;
}

CLockCredential CLockCredential::fromCode(const QString& digits)
{
    CLockCredential credential;
    constexpr int mostDigits = 12;
    if (digits.isEmpty() || digits.size() > mostDigits)
        return credential;
    for (const QChar digit : digits) {
        if (digit < QLatin1Char('0') || digit > QLatin1Char('9'))
            return CLockCredential();
        credential.m_value = credential.m_value * 10 + (digit.unicode() - u'0');
    }
    credential.m_kind = Kind::Code;
    credential.m_length = quint8(digits.size());
    return credential;
}

CLockCredential CLockCredential::fromUidLabel(const QString& label)
{
    constexpr int longestLabel = 24;
    if (label.size() > longestLabel)
        return CLockCredential();
    const QByteArray uid = CDataType::rfidUidFromLabel(label);
    if (!uid.isEmpty())
        return fromUid(uid);
    const QByteArray text = label.toLatin1().toLower();
    const QByteArray plain = QByteArray::fromHex(text);
    return plain.toHex() == text ? fromUid(plain) : CLockCredential();
}

QByteArray CLockCredential::uid() const
{
    if (!isUid())
        return QByteArray();
    const quint64 bigEndian = qToBigEndian(m_value);
    return QByteArray(reinterpret_cast<const char*>(&bigEndian), sizeof bigEndian).right(m_length);
}

QString CLockCredential::toText() const
{
    switch (m_kind) {
    case Kind::Uid:
        return CDataType::rfidUidToLabel(uid());
    case Kind::Code:
        return QString::number(m_value).rightJustified(m_length, QLatin1Char('0'));
    case Kind::None:
        break;
    }
    return QString();
}
