#pragma once

#include <QtCore/QString>

#include <algorithm>

/// A text that grows at its end. An append costs little more than the copy, where QString's own looks each time whether
/// the text is shared; that counts for millions of short pieces.
class TextBuffer
{
public:
    explicit TextBuffer(qsizetype capacity)
        : m_text(static_cast<int>(capacity), Qt::Uninitialized)
        , m_data(m_text.data())
    {
    }
    Q_DISABLE_COPY(TextBuffer)

    void append(QChar character)
    {
        if (m_size == m_text.size())
            grow(1);
        m_data[m_size++] = character;
    }
    void append(const QChar* data, qsizetype size)
    {
        if (m_text.size() - m_size < size)
            grow(size);
        std::copy_n(data, size, m_data + m_size);
        m_size += size;
    }
    void append(const QString& text) { append(text.constData(), text.size()); }

    qsizetype size() const { return m_size; }
    void clear() { m_size = 0; }
    /// What was appended, until the next append.
    QStringView view() const { return QStringView(m_data, m_size); }
    /// What was appended; the buffer is used up.
    QString take()
    {
        m_text.resize(m_size);
        return std::move(m_text);
    }

private:
    void grow(qsizetype size)
    {
        m_text.resize(2 * (m_size + size));
        m_data = m_text.data();
    }

    QString m_text;
    QChar* m_data;
    qsizetype m_size = 0;
};
