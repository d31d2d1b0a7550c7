#pragma once

#include <QtCore/QByteArray>

#include <deque>

/// The bytes that were handed to a socket and not yet reported as written. Pieces are shared with the socket's own
/// buffer, and taking bytes off the front costs what is taken, however much stands behind it.
class PendingData
{
public:
    qint64 size() const { return m_size; }

    void append(const QByteArray& data)
    {
        if (data.isEmpty())
            return;
        m_pieces.push_back(data);
        m_size += data.size();
    }

    void clear()
    {
        m_pieces.clear();
        m_taken = 0;
        m_size = 0;
    }

    /// To be called when the socket took no data for want of a connection: they stand here until the next state, and
    /// this bounds them.
    void boundRefused()
    {
        constexpr qint64 mostRefused = 0x100000; // 1 MiB
        if (m_size > mostRefused)
            clear();
    }

    /// The first `count` bytes, or all when there are fewer.
    QByteArray take(qint64 count)
    {
        if (m_taken == 0 && !m_pieces.empty() && count == m_pieces.front().size()) {
            QByteArray piece = m_pieces.front();
            drop(count);
            return piece;
        }
        QByteArray data;
        data.reserve(static_cast<Size>(qBound<qint64>(0, count, m_size)));
        walk(count, [&data](const char* bytes, Size length) { data.append(bytes, length); });
        return data;
    }

    void drop(qint64 count)
    {
        walk(count, [](const char*, Size) {});
    }

private:
    using Size = decltype(QByteArray().size());

    template<typename Visitor>
    void walk(qint64 count, Visitor visit)
    {
        while (count > 0 && m_size > 0) {
            const auto length = static_cast<Size>(qMin<qint64>(count, m_pieces.front().size() - m_taken));
            visit(m_pieces.front().constData() + m_taken, length);
            count -= length;
            m_size -= length;
            m_taken += length;
            if (m_taken == m_pieces.front().size()) {
                m_pieces.pop_front();
                m_taken = 0;
            }
        }
    }

    std::deque<QByteArray> m_pieces;
    Size m_taken = 0; // of the front piece
    qint64 m_size = 0;
};
