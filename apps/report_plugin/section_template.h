#pragma once

#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QVariantMap>

#include <vector>

/// Fills an HTML text: $name is replaced by a value, and what stands between the comments "<!-- name -->" and
/// "<!-- /name -->" is repeated for each entry of a list, within which the list of an entry may be repeated in turn.
/// A section without entries disappears.
///
///     SectionTemplate::Entry report;
///     report.values.insert(QStringLiteral("title"), QStringLiteral("Keys & doors"));     // escaped on its way
///     report.sections[QStringLiteral("user")] = {anna, ben};
///     const QString html = SectionTemplate(text).fill(report);
class SectionTemplate
{
public:
    struct Entry
    {
        QVariantMap values;
        QMap<QString, QList<Entry>> sections;
    };

    explicit SectionTemplate(const QString& text);

    QString fill(const Entry& entry) const;

    /// The three parts of a template that has exactly one section of that name, and that at its outermost level: what
    /// stands before it, the section itself, and what stands behind it. False, and nothing changed, for any other.
    bool split(const QString& section, SectionTemplate& before, SectionTemplate& within, SectionTemplate& behind) const;
    /// Whether "$key" stands anywhere in it.
    bool mentions(const QString& key) const;

private:
    struct Piece
    {
        QString text;
        QString section; // empty: text alone
        std::vector<Piece> pieces;
    };

    static std::vector<Piece> parsed(const QString& text);
    static void append(QString& result, const std::vector<Piece>& pieces, const Entry& entry,
                       const QVariantMap& outerValues);
    static bool mentions(const std::vector<Piece>& pieces, const QString& key);

    std::vector<Piece> m_pieces;
};
