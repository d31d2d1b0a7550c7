// The codec's texts: messages of devices, files of settings.
#include "fuzz_support.h"

#include <foundation/core/json_parser.h>

namespace {

qint64 sizeOf(const QVariant& value)
{
    return value.userType() == QMetaType::QByteArray ? value.toByteArray().size() : value.toString().size();
}

void readAnything(const QString& text, bool stripComments)
{
    bool ok = false;
    const QVariantMap map = CJsonParser::deserialize(text, &ok, stripComments);
    qint64 held = 0;
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        switch (it.value().userType()) {
        case QMetaType::QString:
        case QMetaType::QByteArray:
            held += sizeOf(it.value());
            break;
        case QMetaType::UnknownType: // null
        case QMetaType::Bool:
        case QMetaType::Int:
        case QMetaType::LongLong:
        case QMetaType::Double:
        case QMetaType::QDateTime:
            break;
        default:
            FUZZ_CHECK(!"a type that the codec knows");
        }
    }
    FUZZ_CHECK(held <= text.size());
    FUZZ_CHECK(map.size() <= text.size());
    const QVariantMap again = CJsonParser::deserialize(text, nullptr, stripComments);
    FUZZ_CHECK(again.keys() == map.keys());
    CJsonParser::serialize(map); // whatever was read can be written
    CJsonParser::valueStringToVariant(text);
}

// Entries of all types, written and read again. Backslashes take part in escapes anywhere in a text, quotes and "%" are
// none of a key's characters, and a text that looks like bytes, a date or a nested text is read as one: those are
// kept out here, readAnything() has them.
void writeAndRead(FuzzInput& input)
{
    QVariantMap map;
    while (!input.atEnd()) {
        const quint8 kind = input.byte();
        const QString key = QStringLiteral("k") + QString::fromLatin1(input.word().toHex().left(16));
        switch (kind % 6) {
        case 0:
            map.insert(key, static_cast<int>(input.number(4)));
            break;
        case 1:
            map.insert(key, static_cast<qint64>(input.number(8) | Q_UINT64_C(1) << 40));
            break;
        case 2:
            map.insert(key, input.flag());
            break;
        case 3: {
            const QByteArray bytes = input.word();
            const char first = bytes.isEmpty() ? '\0' : bytes.at(0);
            if (first != '{' && first != '[' && first != '\xEF') // a nested text, perhaps behind a byte-order mark
                map.insert(key, bytes);
            break;
        }
        case 4:
            map.insert(key, static_cast<double>(static_cast<qint32>(input.number(4))) / 8 + 0.0625);
            break;
        default: {
            QString text = QStringLiteral("s") + input.text();
            text.remove(QLatin1Char('\\')).remove(QLatin1Char('\v')).remove(QLatin1Char('\0'));
            map.insert(key, text);
        }
        }
    }
    bool ok = false;
    const QString text = CJsonParser::serialize(map);
    const QVariantMap read = CJsonParser::deserialize(text, &ok, false);
    FUZZ_CHECK(ok || map.isEmpty());
    FUZZ_CHECK(read == map);
}

} // namespace

FUZZ_TARGET(json_text)
{
    const quint8 mode = input.byte();
    if (mode % 3 == 2)
        writeAndRead(input);
    else
        readAnything(input.restAsText(), mode % 3 == 1);
}
