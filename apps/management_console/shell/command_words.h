#pragma once

#include <QtCore/QStringList>

/// The words of a typed line, with blanks or tabs between them; those that hold some stand in single or double quotes,
/// and a pair of quotes alone is an empty word. Empty for a blank line and for a remark, which begins with "#".
QStringList commandWords(const QString& line);
