#pragma once

#include <QtCore/QStringList>
#include <QtCore/QVector>

/// A column of a table as text.
struct TextColumn
{
    QString title;
    QStringList cells; ///< printable; as many as the table has rows
    bool isNumeric = false;
};

/// The columns beside each other, aligned under their titles, which are bold where there is colour. `columns` is the
/// width of a terminal, 0: there is none. A table that is wider is made to fit: columns without any content go, the
/// offset from UTC that all times of a column share goes into its title, the widest columns end in an ellipsis, the
/// first one last, and what has no room even so is left out at the end.
QStringList alignedLines(const QVector<TextColumn>& texts, bool colour, int columns);
