#pragma once

#include <foundation/core/export.h>

#include <QtCore/QByteArray>

#include <memory>

/// Keeps the most recent lines of a log in a fixed piece of memory.
///
///     CCircularLogBuffer buffer(0x10000);
///     buffer.append("first");
///     buffer.append("second");
///     buffer.readAll();        // "first\nsecond\n"
///
/// Lines are stored one after another, each ended by a NUL byte. New bytes run over the oldest ones; what is left of a
/// line that was run over is dropped when the buffer is read. Nothing is allocated after construction, and nothing is
/// locked: use it from one thread, or live with a last line that is only partly there.
class KYR_FOUNDATION_EXPORT CCircularLogBuffer
{
public:
    /// The capacity in bytes; one of them always stays free.
    explicit CCircularLogBuffer(int size);
    ~CCircularLogBuffer();
    CCircularLogBuffer(const CCircularLogBuffer&) = delete;
    CCircularLogBuffer& operator=(const CCircularLogBuffer&) = delete;

    /// Forgets the lines, but not whether an old line was run over: then the first line read afterwards is dropped.
    void clear();

    /// Stores the bytes as they are; as many as the capacity, or more, are ignored.
    void append(const char* data, int length);
    /// Stores a text and the NUL that ends the line.
    void append(const char* text);
    /// Stores bytes in which each line feed ends a line; a NUL at the end is the caller's part. Of too many bytes the
    /// last ones are kept.
    void append(const QByteArray& line);

    /// The lines from the oldest to the newest, each ended by a line feed. They stay in the buffer.
    QByteArray readAll();
    /// After the oldest line was run over: moves on to the next whole one.
    void moveTailToFirstLine();

    /// The buffer that the log output fills, if any. Its destruction unsets it.
    static void setInstanceUsedAsMessageHandler(CCircularLogBuffer* instance);
    static CCircularLogBuffer* getInstanceUsedAsMessageHandler();

private:
    int wrapped(int index) const { return index >= m_size ? index - m_size : index; }

    std::unique_ptr<char[]> m_buffer;
    int m_size;
    int m_head = 0;
    int m_tail = 0;
    bool m_overwritten = false;
};
