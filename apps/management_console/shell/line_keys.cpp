#include "shell/line_keys.h"

#include <QtCore/QtGlobal>

#include <cstring>

using namespace LineKeys;

namespace {

constexpr int longestKey = 64; // of a sequence; what is longer is none

// How many bytes a character has that begins so; 1 for a byte that begins none.
int bytesOfCharacter(char first)
{
    const auto byte = quint8(first);
    return byte < 0xC0 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
}

// The length of the key that the bytes begin with: one control character, an escape sequence, or characters that are
// inserted. 0: its rest has not come.
int keyLength(const QByteArray& bytes)
{
    const char first = bytes.at(0);
    if (first == escape) {
        if (bytes.size() < 2)
            return 0;
        if (bytes.at(1) != '[' && bytes.at(1) != 'O')
            return 1 + qMin(bytesOfCharacter(bytes.at(1)), int(bytes.size()) - 1);
        for (int i = 2; i < bytes.size(); ++i) {
            if (quint8(bytes.at(i)) >= 0x40 || isControl(bytes.at(i)))
                return i + 1;
            if (i > longestKey)
                return i;
        }
        return 0;
    }
    if (isControl(first))
        return 1;
    int length = 0;
    while (length < bytes.size() && !isControl(bytes.at(length))) {
        const int next = length + bytesOfCharacter(bytes.at(length));
        if (next > bytes.size())
            break;
        length = next;
    }
    return length;
}

// What the library takes for a key of one byte; others ask it to wait for more, or mean nothing here.
constexpr char plainKeys[] = "\001\002\004\005\006\010\013\014\016\020\024\025\027\031\177\r\n";

// Keys of several bytes, and those of one that do the same.
struct Sequence
{
    const char* bytes; // without the escape
    const char* key;
};
constexpr Sequence sequences[] = {
    {"[A", "\020"},     {"OA", "\020"},     {"[B", "\016"},     {"OB", "\016"},   {"[C", "\006"},   {"OC", "\006"},
    {"[D", "\002"},     {"OD", "\002"},     {"[H", "\001"},     {"OH", "\001"},   {"[1~", "\001"},  {"[7~", "\001"},
    {"[F", "\005"},     {"OF", "\005"},     {"[4~", "\005"},    {"[8~", "\005"},  {"[3~", "\004"},  {"[1;5C", "\033f"},
    {"[1;3C", "\033f"}, {"[1;5D", "\033b"}, {"[1;3D", "\033b"}, {"f", "\033f"},   {"b", "\033b"},   {"d", "\033d"},
    {"u", "\033u"},     {"l", "\033l"},     {"c", "\033c"},     {"\177", "\027"}, {"\010", "\027"},
};

} // namespace

bool LineKeys::isControl(char byte)
{
    return quint8(byte) < 0x20 || byte == rubout;
}

QByteArray LineKeys::take(QByteArray& bytes)
{
    const int length = bytes.isEmpty() ? 0 : keyLength(bytes);
    QByteArray key = bytes.left(length);
    bytes.remove(0, length);
    return key;
}

QByteArray LineKeys::known(const QByteArray& key)
{
    if (key.at(0) != escape)
        return !isControl(key.at(0)) || (key.at(0) != 0 && std::strchr(plainKeys, key.at(0))) ? key : QByteArray();
    for (const Sequence& sequence : sequences) {
        if (key.mid(1) == sequence.bytes)
            return sequence.key;
    }
    return {};
}
