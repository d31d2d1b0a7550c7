#pragma once

#include <QtCore/QCryptographicHash>
#include <QtCore/QList>
#include <QtCore/QPair>

// WebSocket messages as bytes, written from the protocol's standard alone, so that the far end of a test shares no code
// with the library under test.
namespace RawWebSocket {

enum Opcode
{
    Text = 1,
    Binary = 2,
    Close = 8,
    Ping = 9,
    Pong = 10
};

inline QByteArray upgradeRequest(const QByteArray& path)
{
    return "GET " + path
           + " HTTP/1.1\r\nHost: localhost\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
             "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: 13\r\n\r\n";
}

// The answer to a complete upgrade request.
inline QByteArray upgradeResponse(const QByteArray& request)
{
    const auto begin = request.toLower().indexOf("sec-websocket-key:") + 18;
    const QByteArray key = request.mid(begin, request.indexOf('\r', begin) - begin).trimmed();
    const QByteArray magic = key + "258EAFA5-E914-47DA-95CA-C5AB0DC85B11";
    return "HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: Upgrade\r\nSec-WebSocket-Accept: "
           + QCryptographicHash::hash(magic, QCryptographicHash::Sha1).toBase64() + "\r\n\r\n";
}

// One message in one frame. Clients mask theirs; an all-zero mask leaves the bytes as they are.
inline QByteArray frame(Opcode opcode, const QByteArray& payload, bool fromClient)
{
    const int maskBit = fromClient ? 0x80 : 0;
    QByteArray result;
    result += char(0x80 | opcode);
    if (payload.size() < 126) {
        result += char(maskBit | payload.size());
    } else {
        const bool wide = payload.size() > 0xFFFF;
        result += char(maskBit | (wide ? 127 : 126));
        for (int shift = wide ? 56 : 8; shift >= 0; shift -= 8)
            result += char(quint64(payload.size()) >> shift);
    }
    if (fromClient)
        result += QByteArray(4, '\0');
    return result + payload;
}

// Takes the complete messages off the front of `buffer`.
inline QList<QPair<int, QByteArray>> takeFrames(QByteArray& buffer)
{
    QList<QPair<int, QByteArray>> result;
    while (buffer.size() >= 2) {
        quint64 size = buffer[1] & 0x7F;
        const int lengthBytes = size == 126 ? 2 : size == 127 ? 8 : 0;
        const QByteArray mask = buffer.mid(2 + lengthBytes, buffer[1] & 0x80 ? 4 : 0);
        const int header = 2 + lengthBytes + (buffer[1] & 0x80 ? 4 : 0);
        if (buffer.size() < header)
            break;
        for (int i = 0; i < lengthBytes; ++i)
            size = (i == 0 ? 0 : size << 8) | quint8(buffer[2 + i]);
        if (quint64(buffer.size() - header) < size)
            break;
        QByteArray payload = buffer.mid(header, int(size));
        for (int i = 0; i < payload.size() && !mask.isEmpty(); ++i)
            payload[i] = char(payload[i] ^ mask[i % 4]);
        result.append({buffer[0] & 0x0F, payload});
        buffer.remove(0, header + int(size));
    }
    return result;
}

} // namespace RawWebSocket
