#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

/// A peer's UTF-8 text, which ends at its first zero byte: programs in C may send the one that ends theirs along.
/// QString::fromUtf8 of a byte array stops there in Qt 5, but not in Qt 6.
inline QString utf8UpToZero(const QByteArray& bytes)
{
    return QString::fromUtf8(bytes.constData(),
                             static_cast<int>(qstrnlen(bytes.constData(), static_cast<uint>(bytes.size()))));
}

/// All of a text, zero bytes included, with every version of Qt.
inline QString utf8Whole(const QByteArray& bytes)
{
    // A size is never negative; the compiler does not know, and warns of what -1 means to fromUtf8.
    return QString::fromUtf8(bytes.constData(), qMax(0, static_cast<int>(bytes.size())));
}
