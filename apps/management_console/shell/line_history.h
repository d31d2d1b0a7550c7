#pragma once

#include <QtCore/QStringList>

/// What was typed at the prompt, kept in a file of the user's own (mode 0600) from one console to the next. Several
/// consoles may share the file: each adds its lines at the end.
///
/// A line that holds a secret (a password, a token, a code) or begins with a blank never comes into the file.
class LineHistory
{
public:
    /// How many lines the file keeps when a console begins.
    static constexpr int mostLines = 2000;

    /// `file` is made at need, and its folder; empty: nothing lasts.
    explicit LineHistory(const QString& file);
    /// In the user's state folder ($XDG_STATE_HOME).
    static QString defaultFile();

    /// Oldest first.
    const QStringList& lines() const { return m_lines; }
    void add(const QString& line);
    /// Whether a line may be kept in a file.
    static bool mayLast(const QString& line);

    /// The newest line above `before` that holds the text: its index, or -1.
    int find(const QString& text, int before) const;

private:
    void load();
    void append(const QString& line);

    QString m_file;
    QStringList m_lines;
};
