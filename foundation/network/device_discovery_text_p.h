#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QtGlobal>
#include <QtNetwork/QHostAddress>

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>
#include <type_traits>

/// Puts the short texts of discovery together, its messages and its log lines: without a format to read again for each
/// of them, and without a conversion for each piece.
class DiscoveryText
{
public:
    DiscoveryText() = default;
    Q_DISABLE_COPY(DiscoveryText)

    DiscoveryText& operator<<(std::string_view text)
    {
        m_end = std::copy_n(text.data(), std::min(text.size(), room()), m_end);
        return *this;
    }
    template<typename Number, typename = std::enable_if_t<std::is_integral_v<Number>>>
    DiscoveryText& operator<<(Number number)
    {
        m_end = std::to_chars(m_end, m_end + room(), number).ptr;
        return *this;
    }
    DiscoveryText& operator<<(const QHostAddress& address)
    {
        if (address.protocol() != QAbstractSocket::IPv4Protocol) {
            const QByteArray text = address.toString().toUtf8();
            return *this << std::string_view(text.constData(), static_cast<size_t>(text.size()));
        }
        const quint32 bytes = address.toIPv4Address();
        return *this << (bytes >> 24) << "." << (bytes >> 16 & 0xFF) << "." << (bytes >> 8 & 0xFF) << "."
                     << (bytes & 0xFF);
    }

    QByteArray toBytes() const { return {m_text.data(), size()}; }

    /// What qInfo does with a text that is ready.
    void log() const
    {
        qt_message_output(QtInfoMsg, QMessageLogContext(nullptr, 0, nullptr, "default"),
                          QString::fromUtf8(m_text.data(), size()));
    }

private:
    int size() const { return static_cast<int>(m_end - m_text.data()); }
    size_t room() const { return m_text.size() - static_cast<size_t>(size()); }

    // The longest message has 100 bytes and the longest line 150. Whoever invents a longer name for the scope of an
    // address reads its beginning.
    std::array<char, 384> m_text{};
    char* m_end = m_text.data();
};
