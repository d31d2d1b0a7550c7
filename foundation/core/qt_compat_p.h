#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QDataStream>
#include <QtCore/QMetaProperty>
#include <QtCore/QTextStream>
#include <QtCore/QVariant>

/// What Qt 5 and Qt 6 say differently, with no wording that both understand. The only place that asks for the version.
namespace QtCompat {

#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)

inline void setUtf8(QTextStream& stream)
{
    stream.setCodec("UTF-8");
}

inline bool isStored(const QMetaProperty& property, const QObject* object)
{
    return property.isStored(object);
}

/// Number of a type that is known by name, else QMetaType::UnknownType.
inline int typeId(const char* name)
{
    return QMetaType::type(name);
}

/// A variant of type quint32 without a value.
inline QVariant nullUnsigned()
{
    return QVariant(QVariant::UInt);
}

/// Whether a value can be read as a list. To Qt 6 a text is a list of its characters, too.
inline bool isList(const QVariant& value)
{
    return value.canConvert<QVariantList>();
}

/// Whether the value is one of an enumeration that Qt knows as such.
inline bool isEnumeration(const QVariant& value)
{
    return QMetaType::typeFlags(value.userType()).testFlag(QMetaType::IsEnumeration);
}

/// Whether the value's type can be written to a data stream. (Qt 5 only tells when it is asked to write one.)
inline bool isStreamable(const QVariant& value)
{
    QByteArray ignored;
    QDataStream stream(&ignored, QIODevice::WriteOnly);
    return QMetaType::save(stream, value.userType(), value.constData());
}

/// Lets variants of a type be compared. Qt 6 finds the operators by itself.
template<typename T>
void registerComparison()
{
    QMetaType::registerComparators<T>();
}

template<typename T>
void registerEquality()
{
    QMetaType::registerEqualsComparator<T>();
}

/// Lets variants of a type go through a data stream.
template<typename T>
void registerStreaming(const char* name)
{
    qRegisterMetaTypeStreamOperators<T>(name);
}

/// Takes bytes away in front without moving the rest, which remove() of Qt 5 does. A sole owner lets the array begin
/// further behind instead: Qt then treats the bytes as it treats raw data, that is, it copies them before the first
/// change, and still frees the block with its last owner.
inline void dropFront(QByteArray& bytes, int count)
{
    QByteArray::DataPtr& d = bytes.data_ptr();
    if (!d->ref.isShared()) {
        d->offset += count;
        d->size -= count;
        d->alloc = 0;
    } else {
        bytes = QByteArray(bytes.constData() + count, bytes.size() - count);
    }
}

#else

inline void setUtf8(QTextStream& stream)
{
    stream.setEncoding(QStringConverter::Utf8);
}

inline bool isStored(const QMetaProperty& property, const QObject*)
{
    return property.isStored();
}

inline int typeId(const char* name)
{
    return QMetaType::fromName(name).id();
}

inline QVariant nullUnsigned()
{
    return QVariant(QMetaType::fromType<quint32>());
}

inline bool isList(const QVariant& value)
{
    return value.userType() != QMetaType::QString && value.userType() != QMetaType::QByteArray
           && value.canConvert<QVariantList>();
}

inline bool isEnumeration(const QVariant& value)
{
    return value.metaType().flags().testFlag(QMetaType::IsEnumeration);
}

inline bool isStreamable(const QVariant& value)
{
    return value.metaType().hasRegisteredDataStreamOperators();
}

template<typename T>
void registerComparison()
{
}

template<typename T>
void registerEquality()
{
}

template<typename T>
void registerStreaming(const char*)
{
}

inline void dropFront(QByteArray& bytes, int count)
{
    bytes.remove(0, count);
}

#endif

} // namespace QtCompat
