// Standard JSON from strangers. With the address sanitizer, what Qt's reader would lose is a finding by itself.
#include "fuzz_support.h"

#include <foundation/core/json_text.h>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>

namespace {

int entriesOf(const QJsonValue& value)
{
    int count = 0;
    if (value.isArray()) {
        const QJsonArray array = value.toArray();
        for (const QJsonValue& element : array)
            count += entriesOf(element);
    } else if (value.isObject()) {
        const QJsonObject object = value.toObject();
        count = static_cast<int>(object.size());
        for (const QJsonValue& entry : object)
            count += entriesOf(entry);
    }
    return count;
}

} // namespace

FUZZ_TARGET(json_repeated_keys)
{
    const QByteArray text = input.rest();
    const int place = CJsonText::repeatedKey(text);
    FUZZ_CHECK(place >= -1 && place < text.size());
    FUZZ_CHECK(place < 0 || text.at(place) == '"');
    QJsonParseError error;
    const QJsonDocument document = CJsonText::read(text, &error);
    FUZZ_CHECK(place < 0 || (document.isNull() && error.error != QJsonParseError::NoError));
    if (document.isNull())
        return;
    // Nothing was lost: there is an entry for each colon outside of strings.
    int colons = 0;
    bool inString = false;
    for (int i = 0; i < text.size(); ++i) {
        if (inString && text.at(i) == '\\')
            ++i;
        else if (text.at(i) == '"')
            inString = !inString;
        else
            colons += !inString && text.at(i) == ':';
    }
    FUZZ_CHECK(colons == (document.isArray() ? entriesOf(document.array()) : entriesOf(document.object())));
}
