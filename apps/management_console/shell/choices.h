#pragma once

#include <QtCore/QStringList>

/// What all of the words begin with.
QString commonBegin(const QStringList& words);
/// Names of files that begin so; those of folders end in "/".
QStringList filesThatBeginWith(const QString& text);
/// The words beside each other, as many as a terminal of so many columns (0: not known) has room for. Of very many the
/// first ones, and how many more there are.
QStringList choicesInColumns(const QStringList& words, int terminalColumns);
