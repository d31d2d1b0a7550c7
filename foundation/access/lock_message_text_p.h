#pragma once

#include <foundation/access/lock_messages.h>
#include <foundation/core/json_text.h>

#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <algorithm>
#include <cmath>

/// How the values of the messages between lock and server stand in JSON, for both directions.
namespace LockMessageText {

/// What a JSON number holds exactly.
constexpr qint64 largest = Q_INT64_C(1) << 53;

inline bool isHex(const QByteArray& text, int size)
{
    return text.size() == size && std::all_of(text.begin(), text.end(), [](char c) {
               return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
           });
}

/// Takes values out of an object, and remembers when one was not what it should be.
class Reader
{
public:
    explicit Reader(const QJsonObject& object)
        : m_object(object)
    {
    }

    bool isGood() const { return m_good; }
    void fail() { m_good = false; }
    bool has(const char* key) const { return m_object.contains(QLatin1String(key)); }
    QJsonValue value(const char* key) const { return m_object.value(QLatin1String(key)); }

    qint64 number(const char* key, qint64 least, qint64 most)
    {
        const QJsonValue read = value(key);
        const double number = read.toDouble();
        if (!read.isDouble() || number != std::floor(number) || number < double(least) || number > double(most)) {
            fail();
            return least;
        }
        return qint64(number);
    }
    qint64 numberOr(const char* key, qint64 otherwise, qint64 least, qint64 most)
    {
        return has(key) ? number(key, least, most) : otherwise;
    }
    qint64 time(const char* key) { return number(key, -largest, largest); }
    QString text(const char* key, int longestText)
    {
        const QJsonValue read = value(key);
        QString text = read.toString();
        if (!read.isString() || text.size() > longestText)
            fail();
        return text;
    }
    QString textOr(const char* key, int longestText) { return has(key) ? text(key, longestText) : QString(); }
    QByteArray hex(const char* key, int size, bool mayBeEmpty)
    {
        QByteArray read = text(key, size).toLatin1();
        if (!isHex(read, size) && !(mayBeEmpty && read.isEmpty()))
            fail();
        return read;
    }
    QByteArray revision(const char* key, bool mayBeEmpty = false) { return hex(key, 64, mayBeEmpty); }
    QByteArray epoch() { return hex("epoch", 32, false); }
    CItemId id(const char* key)
    {
        const QJsonValue read = value(key);
        if (read.isUndefined() || read.isNull())
            return CItemId();
        bool ok = false;
        const QString text = read.toString();
        const qint64 id = text.toLongLong(&ok);
        if (!ok || id <= 0 || QString::number(id) != text)
            fail();
        return CItemId(id);
    }
    QByteArray uid()
    {
        const CLockCredential credential = CLockCredential::fromUidLabel(text("uid", 24));
        if (!credential.isUid())
            fail();
        return credential.uid();
    }
    /// Absent: none.
    CAccessReason reason()
    {
        const QString read = textOr("reason", 40);
        if (read.isEmpty())
            return CAccessReason::None;
        const CAccessReason reason = accessReasonFromString(read.toLatin1());
        if (QLatin1String(accessReasonToString(reason)) != read)
            fail();
        return reason;
    }

private:
    QJsonObject m_object;
    bool m_good = true;
};

/// Builds an object; what is nobody, nothing or empty is left out by the put…If functions.
class Writer
{
public:
    void put(const char* key, const QJsonValue& value) { m_object.insert(QLatin1String(key), value); }
    void put(const char* key, const QByteArray& ascii) { put(key, QString::fromLatin1(ascii)); }
    void put(const char* key, const char* ascii) { put(key, QString::fromLatin1(ascii)); }
    void put(const char* key, qint64 number) { put(key, QJsonValue(double(number))); }
    void put(const char* key, int number) { put(key, QJsonValue(number)); }
    void putIf(const char* key, CItemId id)
    {
        if (id.value() != 0)
            put(key, QString::number(id.value()));
    }
    void putIf(const char* key, const QString& text)
    {
        if (!text.isEmpty())
            put(key, QJsonValue(text));
    }
    void putIf(const char* key, const char* ascii) { putIf(key, QString::fromLatin1(ascii)); }
    void putUid(const QByteArray& uid) { putIf("uid", CLockCredential::fromUid(uid).toText()); }

    const QJsonObject& object() const { return m_object; }
    QByteArray toBytes() const { return QJsonDocument(m_object).toJson(QJsonDocument::Compact); }

private:
    QJsonObject m_object;
};

/// No message has nothing to say.
inline void write(Writer&, std::monostate) {}

/// A message as it was read; nothing of one with a value that is not what it should be.
template<typename Result, typename Message>
Result checked(const Reader& in, Message message)
{
    return in.isGood() ? Result(std::move(message)) : Result();
}

/// Empty for a text that is too long for a message, or none.
inline QJsonObject readObject(const QByteArray& message)
{
    return message.size() <= CLockMessage::longest ? CJsonText::read(message).object() : QJsonObject();
}

} // namespace LockMessageText
