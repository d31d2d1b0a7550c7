#pragma once

#include <QtCore/QStringList>

/// Which of these words was meant by one that is none of them: one that a letter or two make of it, or the only one
/// that begins so. Empty: none of them.
QString meantWord(const QString& word, const QStringList& words);
/// That as the end of an error, ": did you mean "users"?"; empty when none was meant.
QString meantText(const QString& word, const QStringList& words);
