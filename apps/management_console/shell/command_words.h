#pragma once

#include <QtCore/QStringList>

/// The words of a typed line, with blanks or tabs between them; those that hold some stand in single or double quotes,
/// and a pair of quotes alone is an empty word. Empty for a blank line and for a remark, which begins with "#".
QStringList commandWords(const QString& line);

/// A line that is still being typed.
struct LineBegin
{
    QStringList words; ///< that are complete
    QString word;      ///< the one that is being typed, without its quotes; may be empty
    int place = 0;     ///< where it begins in the line
};
LineBegin lineBegin(const QString& line);

/// A word as it is typed: in quotes where it needs them.
QString quotedWord(const QString& word);
