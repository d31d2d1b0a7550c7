#pragma once

#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QVariantMap>

/// Fills an HTML text: $name is replaced by a value, and what stands between the comments "<!-- name -->" and
/// "<!-- /name -->" is repeated for each entry of a list, within which the list of an entry may be repeated in turn.
/// A section without entries disappears.
///
///     SectionTemplate::Entry report;
///     report.values.insert(QStringLiteral("title"), QStringLiteral("Keys & doors"));     // escaped on its way
///     report.sections[QStringLiteral("user")] = {anna, ben};
///     const QString html = SectionTemplate::fill(text, report);
namespace SectionTemplate {

struct Entry
{
    QVariantMap values;
    QMap<QString, QList<Entry>> sections;
};

QString fill(const QString& text, const Entry& entry);

} // namespace SectionTemplate
