#pragma once

#include <QtCore/QStringList>

/// A help text for a terminal of so many columns (0: there is none): a line that is longer goes on under its last
/// column, which is what stands behind two blanks or more.
QStringList wrappedHelp(const QStringList& lines, int columns);
