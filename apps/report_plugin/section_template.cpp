#include "section_template.h"

#include <foundation/formats/string_template.h>

#include <algorithm>

SectionTemplate::SectionTemplate(const QString& text)
    : m_pieces(parsed(text))
{
}

QString SectionTemplate::fill(const Entry& entry) const
{
    QString result;
    append(result, m_pieces, entry, {});
    return result;
}

bool SectionTemplate::split(const QString& section, SectionTemplate& before, SectionTemplate& within,
                            SectionTemplate& behind) const
{
    const auto isWanted = [&](const Piece& piece) { return piece.section == section; };
    const auto found = std::find_if(m_pieces.cbegin(), m_pieces.cend(), isWanted);
    if (std::count_if(m_pieces.cbegin(), m_pieces.cend(), isWanted) != 1)
        return false;
    before.m_pieces.assign(m_pieces.cbegin(), found);
    within.m_pieces = {*found};
    behind.m_pieces.assign(found + 1, m_pieces.cend());
    return true;
}

bool SectionTemplate::mentions(const QString& key) const
{
    return mentions(m_pieces, QLatin1Char('$') + key);
}

bool SectionTemplate::mentions(const std::vector<Piece>& pieces, const QString& key)
{
    return std::any_of(pieces.cbegin(), pieces.cend(),
                       [&](const Piece& piece) { return piece.text.contains(key) || mentions(piece.pieces, key); });
}

// A comment that nothing closes is text.
std::vector<SectionTemplate::Piece> SectionTemplate::parsed(const QString& text)
{
    const QLatin1String opening("<!-- ");
    const QLatin1String end(" -->");
    std::vector<Piece> pieces;
    int begin = 0;
    int position = 0;
    for (;;) {
        const int open = int(text.indexOf(opening, position));
        const int openEnd = open < 0 ? -1 : int(text.indexOf(end, open));
        if (openEnd < 0)
            break;
        const QString name = text.mid(open + opening.size(), openEnd - open - opening.size());
        const QString closing = QString(QLatin1String("<!-- /") + name + end);
        const int inner = openEnd + end.size();
        const int close = int(text.indexOf(closing, inner));
        position = inner;
        if (close < 0)
            continue;
        pieces.push_back({text.mid(begin, open - begin), {}, {}});
        pieces.push_back({{}, name, parsed(text.mid(inner, close - inner))});
        begin = position = close + int(closing.size());
    }
    pieces.push_back({text.mid(begin), {}, {}});
    return pieces;
}

// Values of an entry hide those of the entries around it.
void SectionTemplate::append(QString& result, const std::vector<Piece>& pieces, const Entry& entry,
                             const QVariantMap& outerValues)
{
    QVariantMap values = outerValues;
    for (auto value = entry.values.cbegin(); value != entry.values.cend(); ++value)
        values.insert(value.key(), QString(QLatin1String("") + value->toString().toHtmlEscaped())); // not null: unknown
    for (const Piece& piece : pieces) {
        if (piece.section.isEmpty()) {
            result += CStringTemplate(piece.text).substitute(values);
            continue;
        }
        const QList<Entry> elements = entry.sections.value(piece.section);
        for (const Entry& element : elements)
            append(result, piece.pieces, element, values);
    }
}
