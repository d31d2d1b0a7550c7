#pragma once

#include <QtCore/QStringList>

class Session;

/// What may follow in a line that is being typed.
struct Completion
{
    /// Whole words; one that ends in "=" goes on.
    QStringList words;
    /// Names of files may follow, too.
    bool files = false;
    /// What stands in front of these names in the word: "--csv=".
    QString filePrefix;
};

/// What may follow `text`: commands, their verbs and options, names of the installation's items.
Completion completionOf(Session& session, const QString& text);
/// The same for the words of a command, the last of which is being typed.
Completion completionOf(Session& session, const QStringList& words, const QString& word);
