#include <foundation/core/canonical_text.h>

#include <foundation/core/device_id.h>
#include <foundation/core/item_id.h>
#include <foundation/core/qt_compat_p.h>
#include <foundation/core/system_id.h>

#include <QtCore/QDataStream>
#include <QtCore/QDateTime>
#include <QtCore/QIODevice>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QJsonValue>

#include <charconv>
#include <cmath>

namespace {

template<typename Real>
QString realText(Real number)
{
    if (std::isnan(number))
        return QStringLiteral("nan"); // whatever its sign
    // Below 2^64 every whole number is an integer that one of the two types holds.
    if (std::trunc(number) == number && std::abs(number) < static_cast<Real>(18446744073709551616.0)) {
        if (number >= 0)
            return QString::number(static_cast<quint64>(number));
        if (number >= static_cast<Real>(-9223372036854775808.0))
            return QString::number(static_cast<qint64>(number));
    }
    char digits[64];
    const std::to_chars_result end = std::to_chars(digits, digits + sizeof digits, number);
    return QString::fromLatin1(digits, static_cast<int>(end.ptr - digits));
}

QString twoDigits(int number)
{
    return QString::number(number).rightJustified(2, QLatin1Char('0'));
}

QString timeText(QTime time)
{
    return time.isValid() ? twoDigits(time.hour()) + QLatin1Char(':') + twoDigits(time.minute()) + QLatin1Char(':')
                                + twoDigits(time.second())
                          : QString();
}

// Written by hand, as Qt has no ISO form of years outside 0 to 9999.
QString dateText(QDate date)
{
    if (!date.isValid())
        return QString();
    const int year = date.year();
    const QString digits = QString::number(qAbs(year)).rightJustified(4, QLatin1Char('0'));
    return QLatin1String(year < 0 ? "-" : "") + digits + QLatin1Char('-') + twoDigits(date.month()) + QLatin1Char('-')
           + twoDigits(date.day());
}

QString dateTimeText(const QDateTime& dateTime)
{
    if (!dateTime.isValid())
        return QString();
    const QDateTime utc = dateTime.toUTC();
    return dateText(utc.date()) + QLatin1Char('T') + timeText(utc.time()) + QLatin1Char('Z');
}

QString bytesText(const QByteArray& bytes)
{
    const QString digits = QString::fromLatin1(bytes.toHex(':'));
    return bytes.size() < 2 ? digits + QLatin1Char(':') : digits;
}

void addQuoted(QString& text, const QString& inside)
{
    text += QLatin1Char('"');
    for (const QChar character : inside) {
        if (character == QLatin1Char('"') || character == QLatin1Char('\\'))
            text += QLatin1Char('\\');
        text += character;
    }
    text += QLatin1Char('"');
}

bool isMap(const QVariant& value)
{
    return value.userType() == QMetaType::QVariantMap || value.userType() == QMetaType::QVariantHash
           || value.canConvert<QVariantMap>();
}

void addNested(QString& text, const QVariant& value);

void addMap(QString& text, const QVariantMap& map)
{
    text += QLatin1Char('{');
    for (auto entry = map.cbegin(); entry != map.cend(); ++entry) {
        if (entry != map.cbegin())
            text += QLatin1Char(',');
        addQuoted(text, entry.key());
        text += QLatin1Char(':');
        addNested(text, entry.value());
    }
    text += QLatin1Char('}');
}

void addList(QString& text, const QVariantList& list)
{
    text += QLatin1Char('[');
    for (auto element = list.cbegin(); element != list.cend(); ++element) {
        if (element != list.cbegin())
            text += QLatin1Char(',');
        addNested(text, *element);
    }
    text += QLatin1Char(']');
}

// A JSON value as the variant that it stands for, anything else as it is.
QVariant withoutJson(const QVariant& value)
{
    switch (value.userType()) {
    case QMetaType::QJsonValue:
        return value.toJsonValue().toVariant();
    case QMetaType::QJsonObject:
        return value.toJsonObject().toVariantMap();
    case QMetaType::QJsonArray:
        return value.toJsonArray().toVariantList();
    default:
        return value;
    }
}

// False when the value is neither a map nor a list.
bool addContainer(QString& text, const QVariant& value)
{
    if (isMap(value))
        addMap(text, value.toMap());
    else if (value.userType() != QMetaType::QByteArray && QtCompat::isList(value))
        addList(text, value.value<QVariantList>());
    else
        return false;
    return true;
}

QString streamText(const QVariant& value)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream.setVersion(QDataStream::Qt_5_15);
    if (QtCompat::isStreamable(value))
        stream << value;
    return QString::fromLatin1(value.typeName()) + QLatin1Char(':') + QString::fromLatin1(bytes.toHex());
}

QString scalarText(const QVariant& value)
{
    switch (value.userType()) {
    case QMetaType::UnknownType:
    case QMetaType::Nullptr:
        return QString();
    case QMetaType::QString:
        return value.toString();
    case QMetaType::QChar:
        return QString(value.toChar());
    case QMetaType::Bool:
        return value.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::Short:
    case QMetaType::Int:
    case QMetaType::Long:
    case QMetaType::LongLong:
        return QString::number(value.toLongLong());
    case QMetaType::UChar:
    case QMetaType::UShort:
    case QMetaType::UInt:
    case QMetaType::ULong:
    case QMetaType::ULongLong:
        return QString::number(value.toULongLong());
    case QMetaType::Double:
        return realText(value.toDouble());
    case QMetaType::Float:
        return realText(value.toFloat());
    case QMetaType::QDateTime:
        return dateTimeText(value.toDateTime());
    case QMetaType::QDate:
        return dateText(value.toDate());
    case QMetaType::QTime:
        return timeText(value.toTime());
    case QMetaType::QByteArray:
        return bytesText(value.toByteArray());
    default:
        break;
    }
    const int type = value.userType();
    if (type == qMetaTypeId<CItemId>())
        return QString::number(value.value<CItemId>().value());
    if (type == qMetaTypeId<CDeviceId>())
        return QString::number(value.value<CDeviceId>().value());
    if (type == qMetaTypeId<CSystemId>())
        return QString::number(value.value<CSystemId>().value());
    if (QtCompat::isEnumeration(value))
        return QString::number(value.toLongLong());
    return value.canConvert<QString>() ? value.toString() : streamText(value);
}

void addNested(QString& text, const QVariant& element)
{
    const QVariant value = withoutJson(element);
    if (!addContainer(text, value))
        addQuoted(text, scalarText(value));
}

} // namespace

QString canonicalText(const QVariant& value)
{
    const QVariant plain = withoutJson(value);
    QString text;
    return addContainer(text, plain) ? text : scalarText(plain);
}
