#pragma once

#include <QtCore/QString>

/// The terminal that the console was started from, if any.
namespace Terminal {

/// Standard input is a terminal: somebody types.
bool inputIsTerminal();
/// Somebody types and reads: prompt and progress make sense.
bool isInteractive();
/// The same, and the user has not forbidden it (NO_COLOR).
bool wantsColour();

/// The text without what would steer the terminal.
QString printable(QString text);

/// While one is there, nothing that is typed is shown: for passwords. Does nothing where nobody types.
class Hidden
{
public:
    Hidden();
    ~Hidden();
    Hidden(const Hidden&) = delete;
    Hidden& operator=(const Hidden&) = delete;

private:
    bool m_changed = false;
};

/// Writes without a line feed, at once.
void show(const QString& text);
void showError(const QString& text);
/// The current line is empty afterwards.
void clearLine();

} // namespace Terminal
