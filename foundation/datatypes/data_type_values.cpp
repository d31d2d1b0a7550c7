#include <foundation/core/check_digit.h>
#include <foundation/datatypes/authorization_type_data.h>
#include <foundation/datatypes/data_type.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QtEndian>

namespace {

constexpr int pinCodeDigitsShift = 40;
constexpr int pinCodeMaximumDigits = 12;
constexpr unsigned long long pinCodeValueMask = (1ull << pinCodeDigitsShift) - 1;

QString translated(const char* text)
{
    return QCoreApplication::translate("@default", text);
}

// The numbers of the bits that are set, counted from 1, runs of them as "first-last".
QString runs(quint32 bits)
{
    QStringList pieces;
    for (int first = 1; first <= 32;) {
        if ((bits >> (first - 1) & 1) == 0) {
            ++first;
            continue;
        }
        int last = first;
        while (last < 32 && (bits >> last & 1) != 0)
            ++last;
        pieces << (first == last ? QString::number(first) : QStringLiteral("%1-%2").arg(first).arg(last));
        first = last + 1;
    }
    return pieces.join(QLatin1String(", "));
}

bool isSingleBit(quint32 bits)
{
    return (bits & (bits - 1)) == 0;
}

// The bytes of a number without the leading ones that a shorter form leaves out.
QByteArray lastBytes(unsigned long long value, int count)
{
    return CDataType::uLongLongToByteArray(value).right(count);
}

QDateTime wholeSecondsUtc(const QDateTime& time)
{
    return time.isValid() ? QDateTime::fromSecsSinceEpoch(time.toSecsSinceEpoch(), Qt::UTC) : QDateTime();
}

} // namespace

unsigned int CDataType::modulo10Checksum(unsigned int value)
{
    return ::modulo10Checksum(value);
}

QList<CDeviceId> CDataType::deviceIdList(const QList<CItemId>& ids)
{
    QList<CDeviceId> result;
    result.reserve(ids.size());
    for (const CItemId id : ids) {
        const CDeviceId deviceId(id);
        if (deviceId.isValid())
            result.append(deviceId);
    }
    return result;
}

QSet<CDeviceId> CDataType::deviceIdSet(const QSet<CItemId>& ids)
{
    QSet<CDeviceId> result;
    result.reserve(ids.size());
    for (const CItemId id : ids) {
        const CDeviceId deviceId(id);
        if (deviceId.isValid())
            result.insert(deviceId);
    }
    return result;
}

QList<CItemId> CDataType::itemIdList(const QList<CDeviceId>& ids)
{
    QList<CItemId> result;
    result.reserve(ids.size());
    for (const CDeviceId id : ids)
        result.append(id);
    return result;
}

QSet<CItemId> CDataType::itemIdSet(const QSet<CDeviceId>& ids)
{
    QSet<CItemId> result;
    result.reserve(ids.size());
    for (const CDeviceId id : ids)
        result.insert(id);
    return result;
}

QByteArray CDataType::rfidUidToByteArray(unsigned long long uid)
{
    if (uid < 1ull << 32)
        return lastBytes(uid, 4);
    return lastBytes(uid, uid < 1ull << 56 ? 7 : 8);
}

unsigned long long CDataType::rfidUidFromByteArray(const QByteArray& uid)
{
    return uid.size() <= 8 ? byteArrayToULongLong(uid) : 0;
}

QString CDataType::rfidUidToLabel(const QByteArray& uid)
{
    return QString::fromLatin1(uid.toHex(':').toUpper());
}

QByteArray CDataType::rfidUidFromLabel(const QString& label)
{
    const QByteArray text = label.trimmed().toLatin1();
    const QByteArray uid = QByteArray::fromHex(text);
    // fromHex skips what it cannot read; a label is whatever gives itself again.
    return uid.toHex(':') == text.toLower() ? uid : QByteArray();
}

QString CDataType::rfidUidExternalRepresentationFromLabel(const QString& label)
{
    return QString(label).remove(QLatin1Char(':'));
}

QString CDataType::publicMediaIdToLabel(unsigned long long publicMediaId)
{
    return QString::number(publicMediaId);
}

QString CDataType::pinCodeToString(unsigned long long pinCode)
{
    const int digits = static_cast<int>(pinCode >> pinCodeDigitsShift & 0xF);
    if (digits == 0 || digits > pinCodeMaximumDigits)
        return QString();
    return QString::number(pinCode & pinCodeValueMask).rightJustified(digits, QLatin1Char('0'));
}

unsigned long long CDataType::pinCodeFromString(const QString& text)
{
    const QString digits = text.trimmed();
    if (digits.isEmpty() || digits.size() > pinCodeMaximumDigits)
        return 0;
    unsigned long long value = 0;
    for (const QChar digit : digits) {
        if (digit < QLatin1Char('0') || digit > QLatin1Char('9'))
            return 0;
        value = value * 10 + (digit.unicode() - u'0');
    }
    return static_cast<unsigned long long>(digits.size()) << pinCodeDigitsShift | value;
}

QString CDataType::broadcastZoneToString(unsigned int zone)
{
    return translated(QT_TRANSLATE_NOOP("@default", "Zone %1")).arg(zone);
}

QString CDataType::broadcastZoneFlagsCompactString(unsigned int zones)
{
    if (zones == 0)
        return QString();
    const char* text =
        isSingleBit(zones) ? QT_TRANSLATE_NOOP("@default", "Zone %1") : QT_TRANSLATE_NOOP("@default", "Zones %1");
    return translated(text).arg(runs(zones));
}

QString CDataType::deviceOutputFlagsCompactString(unsigned int outputs)
{
    outputs = static_cast<unsigned int>(DeviceOutputs::Int(deviceOutputsCast(outputs)));
    QStringList pieces;
    if (outputs & DeviceOutputMotor)
        pieces << translated(deviceOutputToString(DeviceOutputMotor));
    if (const unsigned int relays = outputs >> 1) {
        const char* text = isSingleBit(relays) ? QT_TRANSLATE_NOOP("@default", "Relay %1")
                                               : QT_TRANSLATE_NOOP("@default", "Relays %1");
        pieces << translated(text).arg(runs(relays));
    }
    return pieces.isEmpty() ? QString() : pieces.join(QLatin1String(", "));
}

QString CDataType::pinCodeEventFlagsCompactString(PinCodeEventFlags flags)
{
    const quint32 digits = static_cast<quint32>(PinCodeEventFlags::Int(flags)) & ((1u << pinCodeMaximumDigits) - 1);
    if (digits == 0)
        return QString();
    return translated(QT_TRANSLATE_NOOP("@default", "%1 digits")).arg(runs(digits));
}

int CDataType::calculateShiftForBitMask(unsigned int mask)
{
    return mask == 0 ? 0 : static_cast<int>(qCountTrailingZeroBits(mask));
}

unsigned long long CDataType::byteArrayToULongLong(const QByteArray& bytes)
{
    unsigned long long value = 0;
    for (const char byte : bytes)
        value = value << 8 | static_cast<unsigned char>(byte);
    return value;
}

QByteArray CDataType::uLongLongToByteArray(unsigned long long value)
{
    QByteArray bytes(8, Qt::Uninitialized);
    qToBigEndian<quint64>(value, bytes.data());
    return bytes;
}

QString CDataType::rssiToString(signed char rssi)
{
    if (rssi >= 0)
        return translated("Unknown");
    return QStringLiteral("%1 dBm").arg(rssi);
}

QString CDataType::rssiToSignalStrength(signed char rssi)
{
    if (rssi >= 0)
        return translated("Unknown");
    if (rssi >= -60)
        return translated(QT_TRANSLATE_NOOP("@default", "Excellent"));
    if (rssi >= -75)
        return translated(QT_TRANSLATE_NOOP("@default", "Good"));
    if (rssi >= -85)
        return translated(QT_TRANSLATE_NOOP("@default", "Fair"));
    return translated(QT_TRANSLATE_NOOP("@default", "Weak"));
}

CDataType::TimeInterval CDataType::validityToTimeInterval(const QDateTime& from, const QDateTime& to)
{
    return {wholeSecondsUtc(from), wholeSecondsUtc(to)};
}

CDataType::TimeInterval CDataType::authToTimeInterval(const CAuthorizationTypeData& authorization)
{
    const auto* limited = dynamic_cast<const CAuthorizationTimeLimited*>(&authorization);
    return limited ? validityToTimeInterval(limited->from, limited->to) : TimeInterval();
}
