#pragma once

#include <QtCore/QStringList>

/// The words of a typed line; those with blanks stand in single or double quotes. Empty for a blank line and for a
/// remark, which begins with "#".
QStringList commandWords(const QString& line);
