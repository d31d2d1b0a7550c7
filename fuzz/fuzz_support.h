#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <cstddef>
#include <cstdint>

/// Ends the program, and so makes a finding of the input, unless the condition holds.
#define FUZZ_CHECK(condition) ((condition) ? void(0) : fuzzFailed(#condition, __FILE__, __LINE__))
[[noreturn]] void fuzzFailed(const char* condition, const char* file, int line);

/// UTF-8 up to the end of the bytes: QString::fromUtf8 itself stops at the first zero byte in Qt 5.
QString fuzzText(const QByteArray& bytes);

/// Cuts the bytes of an input into the values a reader wants. When the bytes are used up there are only zeros.
class FuzzInput
{
public:
    FuzzInput(const uint8_t* data, size_t size)
        : m_bytes(reinterpret_cast<const char*>(data), static_cast<int>(size))
    {
    }

    quint8 byte() { return m_used < m_bytes.size() ? static_cast<quint8>(m_bytes.at(m_used++)) : 0; }
    bool flag() { return (byte() & 1) != 0; }
    quint64 number(int bytes)
    {
        quint64 value = 0;
        while (bytes-- > 0)
            value = value << 8 | byte();
        return value;
    }
    /// The bytes up to the next zero byte, which is taken, too.
    QByteArray word()
    {
        const int zero = m_bytes.indexOf('\0', m_used);
        const QByteArray taken = m_bytes.mid(m_used, zero < 0 ? -1 : zero - m_used);
        m_used = zero < 0 ? m_bytes.size() : zero + 1;
        return taken;
    }
    QString text() { return fuzzText(word()); }
    bool atEnd() const { return m_used >= m_bytes.size(); }
    QString restAsText() { return fuzzText(rest()); }
    QByteArray rest()
    {
        const QByteArray taken = m_bytes.mid(m_used);
        m_used = m_bytes.size();
        return taken;
    }

private:
    QByteArray m_bytes;
    int m_used = 0;
};

/// One target: runs a reader over an input and checks what it promises. All work in it is linear in the input's size,
/// for that is checked as well.
struct FuzzTarget
{
    const char* name;
    void (*run)(FuzzInput input);
    FuzzTarget* next;

    FuzzTarget(const char* targetName, void (*function)(FuzzInput));
};

#define FUZZ_TARGET(name)                                                                                              \
    static void fuzz_##name(FuzzInput input);                                                                          \
    static FuzzTarget fuzzTarget_##name(#name, fuzz_##name);                                                           \
    static void fuzz_##name(FuzzInput input)

/// The target of that name, or the only one of the program; null when there is none.
const FuzzTarget* findFuzzTarget(const char* name = nullptr);

/// Runs the target over the input. One input of many (told by the bytes, so that a replay does the same; `always`: each
/// one) also repeated to a large one and to one eight times as large, which may take only so much longer.
void runFuzzInput(const FuzzTarget& target, const uint8_t* data, size_t size, bool always = false);
