#include <foundation/core/circular_log_buffer.h>

#include <algorithm>
#include <atomic>
#include <cstring>

namespace {

std::atomic<CCircularLogBuffer*> messageHandlerInstance{nullptr};

void endLinesAtLineFeeds(char* begin, int length)
{
    const char* const end = begin + length;
    while ((begin = static_cast<char*>(std::memchr(begin, '\n', static_cast<size_t>(end - begin)))))
        *begin++ = '\0';
}

} // namespace

CCircularLogBuffer::CCircularLogBuffer(int size)
    : m_buffer(new char[static_cast<size_t>(std::max(size, 0))]())
    , m_size(std::max(size, 0))
{
}

CCircularLogBuffer::~CCircularLogBuffer()
{
    CCircularLogBuffer* self = this;
    messageHandlerInstance.compare_exchange_strong(self, nullptr);
}

void CCircularLogBuffer::clear()
{
    m_head = 0;
    m_tail = 0;
}

void CCircularLogBuffer::append(const char* data, int length)
{
    if (length <= 0 || length >= m_size)
        return;
    // The indexes are read once and are always in range: threads that append at once mix up lines, not memory.
    const int head = m_head;
    const int tail = m_tail;
    const int beforeEnd = std::min(length, m_size - head);
    std::memcpy(m_buffer.get() + head, data, static_cast<size_t>(beforeEnd));
    if (beforeEnd < length)
        std::memcpy(m_buffer.get(), data + beforeEnd, static_cast<size_t>(length - beforeEnd));

    const int newHead = static_cast<int>((static_cast<qint64>(head) + length) % m_size);
    m_head = newHead;
    const int distance = (head > tail ? m_size : 0) + tail - head;
    if (distance > 0 && distance <= length) {
        m_overwritten = true;
        m_tail = wrapped(newHead + 1);
    }
}

void CCircularLogBuffer::append(const char* text)
{
    append(text, static_cast<int>(std::strlen(text)) + 1);
}

void CCircularLogBuffer::append(const QByteArray& line)
{
    const int length = std::min(static_cast<int>(line.size()), std::max(m_size - 1, 0));
    const int head = m_head;
    append(line.constData() + (line.size() - length), length);

    const int beforeEnd = std::min(length, m_size - head);
    endLinesAtLineFeeds(m_buffer.get() + head, beforeEnd);
    endLinesAtLineFeeds(m_buffer.get(), length - beforeEnd);
}

QByteArray CCircularLogBuffer::readAll()
{
    moveTailToFirstLine();
    const int head = m_head;
    const int tail = m_tail;
    QByteArray lines;
    lines.reserve(head >= tail ? head - tail : m_size - tail + head);
    if (head < tail)
        lines.append(m_buffer.get() + tail, m_size - tail);
    const int start = head < tail ? 0 : tail;
    lines.append(m_buffer.get() + start, head - start);
    return lines.replace('\0', '\n');
}

void CCircularLogBuffer::moveTailToFirstLine()
{
    if (!m_overwritten)
        return;
    const char* const begin = m_buffer.get();
    const char* const head = begin + m_head;
    const char* const end = m_head < m_tail ? begin + m_size : head;
    const char* found = std::find(begin + m_tail, end, '\0');
    if (found == end && m_head < m_tail) {
        found = std::find(begin, head, '\0');
        if (found == head)
            return;
    } else if (found == end) {
        return;
    }
    m_tail = wrapped(static_cast<int>(found - begin) + 1);
    m_overwritten = false;
}

void CCircularLogBuffer::setInstanceUsedAsMessageHandler(CCircularLogBuffer* instance)
{
    messageHandlerInstance = instance;
}

CCircularLogBuffer* CCircularLogBuffer::getInstanceUsedAsMessageHandler()
{
    return messageHandlerInstance;
}
