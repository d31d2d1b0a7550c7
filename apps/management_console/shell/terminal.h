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
/// Somebody reads what is written.
bool outputIsTerminal();

struct Size
{
    int columns = 0; ///< 0: not known, or no terminal
    int rows = 0;
};
/// Of the terminal that is written to.
Size size();

/// How many columns a text takes on a terminal.
int width(const QString& text);
/// The text, or its begin and an ellipsis when it takes more columns. 0: as it is.
QString cut(const QString& text, int columns);

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
