// Templates: texts that come from settings, with values from anywhere.
#include "fuzz_support.h"

#include <foundation/formats/string_template.h>

namespace {

// The same rules, one character after the other.
QString expectedText(const QString& text, const QVariantMap& values)
{
    const auto isName = [](QChar c) { return c.unicode() < 0x80 && (c.isLetterOrNumber() || c == QLatin1Char('_')); };
    QString result;
    bool brokenBrace = false;
    for (int i = 0; i < text.size(); ++i) {
        if (text[i] != QLatin1Char('$') || i + 1 == text.size() || brokenBrace) {
            result += text[i];
            continue;
        }
        QString key;
        if (text[i + 1] == QLatin1Char('{')) {
            int end = i + 3;
            while (end < text.size() && text[end] != QLatin1Char('}'))
                ++end;
            if (end >= text.size()) {
                brokenBrace = true;
                result += text[i];
                continue;
            }
            key = text.mid(i + 2, end - i - 2);
            i = end - 1; // the brace stays
        } else {
            while (i + 1 < text.size() && isName(text[i + 1]))
                key += text[++i];
        }
        const QVariant value = values.value(key);
        if (key == QLatin1String("$"))
            result += key;
        else if (value.toString().isNull())
            result += QLatin1String("${") + key + QLatin1Char('}');
        else
            result += value.toString();
    }
    return result;
}

} // namespace

FUZZ_TARGET(string_template)
{
    const QVariantMap values{{QStringLiteral("name"), input.text().left(16)},
                             {input.text().left(16), QStringLiteral("$name")},
                             {QStringLiteral("n"), 7},
                             {QStringLiteral("null"), QString()}};
    const QString text = input.restAsText();
    CStringTemplate stringTemplate(text);
    const QString result = stringTemplate.substitute(values);
    FUZZ_CHECK(result == expectedText(text, values));
    FUZZ_CHECK(text.contains(QLatin1Char('$')) || result == text);
}
