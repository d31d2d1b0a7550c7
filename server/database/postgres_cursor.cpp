#include <server/database/postgres_cursor_p.h>

#include <QtCore/QtEndian>

#include <libpq-fe.h>

#include <cstring>

namespace {

// Types of columns as the server numbers them.
constexpr Oid boolType = 16;
constexpr Oid bytesType = 17;
constexpr Oid bigintType = 20;
constexpr Oid smallintType = 21;
constexpr Oid integerType = 23;
constexpr Oid numericType = 1700; // of sums
constexpr int binary = 1;

// Four decimal digits a word, behind a head of their number, the weight of the first, the sign, and digits of a
// fraction.
qint64 wholeNumeric(const char* at)
{
    const auto word = [at](int index) { return qFromBigEndian<qint16>(at + std::ptrdiff_t(2) * index); };
    constexpr int base = 10000;
    qint64 number = 0;
    for (int i = 0; i <= word(1); ++i)
        number = number * base + (i < word(0) ? word(4 + i) : 0);
    return word(2) == 0 ? number : -number;
}

} // namespace

void PostgresCursor::bind(const QVariant& value)
{
    switch (value.userType()) {
    case QMetaType::UnknownType:
        m_values.append({{}, true, false});
        break;
    case QMetaType::QByteArray:
        m_values.append({value.toByteArray(), value.toByteArray().isNull(), true});
        break;
    case QMetaType::QString:
        m_values.append({value.toString().toUtf8(), value.toString().isNull(), false});
        break;
    case QMetaType::Bool:
        m_values.append({value.toBool() ? "1" : "0", false, false});
        break;
    default:
        m_values.append({value.toString().toUtf8(), value.isNull(), false});
        break;
    }
}

bool PostgresCursor::exec()
{
    QVarLengthArray<const char*, 16> values;
    QVarLengthArray<int, 16> lengths;
    QVarLengthArray<int, 16> formats;
    bool good = true;
    for (const Value& value : m_values) {
        // What the server would take as the end of the text.
        good =
            good && (value.isBinary || std::memchr(value.bytes.constData(), 0, size_t(value.bytes.size())) == nullptr);
        values.append(value.isNull ? nullptr : value.bytes.constData());
        lengths.append(int(value.bytes.size()));
        formats.append(value.isBinary ? binary : 0);
    }
    m_result.reset();
    m_row = -1;
    m_rows = 0;
    if (good) {
        m_result = m_connection->askPrepared(m_name, int(values.size()), values.constData(), lengths.constData(),
                                             formats.constData());
        m_error = m_result ? QString() : m_connection->error();
    } else {
        m_error = m_location + QLatin1String(" cannot keep a text with a zero character");
    }
    m_values.clear();
    if (m_result)
        m_rows = PQntuples(m_result.get());
    return m_result != nullptr;
}

QByteArray PostgresCursor::raw(int column) const
{
    return QByteArray::fromRawData(PQgetvalue(m_result.get(), m_row, column),
                                   PQgetlength(m_result.get(), m_row, column));
}

bool PostgresCursor::isNull(int column) const
{
    return PQgetisnull(m_result.get(), m_row, column) != 0;
}

int PostgresCursor::changed() const
{
    return m_result ? QByteArray(PQcmdTuples(m_result.get())).toInt() : 0;
}

bool PostgresCursor::isNumber(int column, qint64* number) const
{
    const char* at = PQgetvalue(m_result.get(), m_row, column);
    switch (PQftype(m_result.get(), column)) {
    case bigintType:
        *number = qFromBigEndian<qint64>(at);
        return true;
    case integerType:
        *number = qFromBigEndian<qint32>(at);
        return true;
    case smallintType:
        *number = qFromBigEndian<qint16>(at);
        return true;
    case boolType:
        *number = *at != 0;
        return true;
    case numericType:
        *number = wholeNumeric(at);
        return true;
    default:
        return false;
    }
}

qint64 PostgresCursor::integer(int column) const
{
    qint64 number = 0;
    if (isNull(column) || isNumber(column, &number))
        return number;
    return raw(column).toLongLong();
}

QString PostgresCursor::text(int column) const
{
    qint64 number = 0;
    if (isNull(column))
        return {};
    return isNumber(column, &number) ? QString::number(number) : QString::fromUtf8(raw(column));
}

QByteArray PostgresCursor::bytes(int column) const
{
    if (isNull(column))
        return {};
    const QByteArray there = raw(column);
    return QByteArray(there.constData(), there.size());
}

QVariant PostgresCursor::value(int column) const
{
    qint64 number = 0;
    if (isNull(column))
        return {};
    if (isNumber(column, &number))
        return number;
    return PQftype(m_result.get(), column) == bytesType ? QVariant(bytes(column)) : QVariant(text(column));
}
