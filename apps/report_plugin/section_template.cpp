#include "section_template.h"

#include <foundation/formats/string_template.h>

namespace {

// Values of an entry hide those of the entries around it.
QString fillWith(const QString& text, const SectionTemplate::Entry& entry, const QVariantMap& outerValues)
{
    QVariantMap values = outerValues;
    for (auto value = entry.values.cbegin(); value != entry.values.cend(); ++value)
        values.insert(value.key(), value->toString().toHtmlEscaped());

    QString result;
    int position = 0;
    for (;;) {
        const int open = text.indexOf(QLatin1String("<!-- "), position);
        const int openEnd = open < 0 ? -1 : text.indexOf(QLatin1String(" -->"), open);
        const QString name = openEnd < 0 ? QString() : text.mid(open + 5, openEnd - open - 5);
        const QString closing = QLatin1String("<!-- /") + name + QLatin1String(" -->");
        const int close = openEnd < 0 ? -1 : text.indexOf(closing, openEnd);
        const int plainEnd = open < 0 ? text.size() : close < 0 ? openEnd < 0 ? text.size() : openEnd + 4 : open;
        result += CStringTemplate(text.mid(position, plainEnd - position)).substitute(values);
        if (plainEnd == text.size())
            return result;
        position = plainEnd;
        if (close < 0)
            continue;
        const QString inner = text.mid(openEnd + 4, close - openEnd - 4);
        const QList<SectionTemplate::Entry> entries = entry.sections.value(name);
        for (const SectionTemplate::Entry& element : entries)
            result += fillWith(inner, element, values);
        position = close + closing.size();
    }
}

} // namespace

QString SectionTemplate::fill(const QString& text, const Entry& entry)
{
    return fillWith(text, entry, {});
}
