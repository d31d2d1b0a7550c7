#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QJsonArray>
#include <QtCore/QStringList>

/// What passes between a tool that takes commands at a local socket and its clients: one JSON array a line, UTF-8, with
/// the kind of the message first. Whatever a text holds, line feeds and quotes too, arrives as it was. Kinds that an
/// end does not know are passed over.
///
///     to the tool      ["hello",1,TERMINAL,COLOUR,FILES,SCRIPTS]  first; whether somebody reads at a terminal, and
///                                                   wants colour; whether the client opens files, and runs scripts
///                                                   (absent: it does not)
///                      ["run",WORD,...]              a command with its arguments
///                      ["line",TEXT]                 the same as typed, split by the tool
///                      ["input",TEXT], ["end"]       the line that was asked for, or that there is none any more
///                      ["cancel"]                    ends the command that runs
///                      ["ping"]                      answered at once by ["pong"]
///                      ["size",COLUMNS,ROWS]         of the terminal that the answers go to; without it there is none
///                      ["complete",TEXT]             what may follow in a line that is being typed?
///     to the client    ["hello",1]                   answers the other
///                      ["out",TEXT], ["err",TEXT]    a line of a result, a line on what went wrong
///                      ["progress",TEXT]             at terminals only: how far it has come
///                      ["news",TEXT]                 at terminals only: what nobody asked for
///                      ["page",TEXT]                 lines of a result that may be more than the screen has
///                      ["redraw",TEXT]               lines in place of the last ones sent so; none: those stay
///                      ["ask"]                       the command wants a line of input
///                      ["ask",QUESTION]              the same for one that must not be seen
///                      ["completions",TEXT,FILES,PREFIX,WORD,...]  answers "complete": whole words; FILES: or names of
///                                                    files behind PREFIX
///                      ["leave"]                     the next code is the last: the command was one that leaves
///                      ["code",N]                    the command has ended
///
/// The files that a command names are the client's: it opens them, and only those that stand in its own command. Each
/// transfer has a number; its content goes in pieces.
///
///     to the client    ["read",ID,NAME,MOST]         the content of a file is wanted, of at most so many bytes
///                      ["write",ID,NAME]             content for a file follows
///     both ways        ["data",ID,BASE64]            a piece of it
///                      ["done",ID]                   that was all; to the tool also: it is written
///                      ["fault",ID,TEXT]             it comes to nothing, and why
///
/// A script is the client's, too: it runs it, and each call is a message. VALUE is as in ScriptWire.
///
///     to the client    ["script",FILE,SECONDS,ARG,...]  run it; SECONDS: for so long at most, 0 for ever
///     to the tool      ["call",ID,OPERATION,[VALUE,...]]  of the script service, "errorString" or "events"
///                      ["listen",ON]                 notifications are wanted from now on, or no longer
///                      ["ended",N]                   with that exit code
///     to the client    ["result",ID,VALUE]           of a call
///                      ["refusal",ID,TEXT]           it cannot be called so
///                      ["answer",ID,VALUE]           what a callback is called with
///                      ["notified",NAME,VALUE,EXTENSION]
namespace CommandProtocol {

constexpr int version = 1;
constexpr int longestMessage = 16 * 1024 * 1024; ///< bytes that a client may send as one message
constexpr int pieceSize = 256 * 1024;            ///< bytes of a file in one message
constexpr int mostAhead = 1024 * 1024;           ///< bytes that may wait unread before the next piece is sent

QByteArray message(const char* kind, const QJsonArray& arguments = {});
QByteArray message(const char* kind, const QString& text);
/// Empty when the line is no message.
QJsonArray parse(const QByteArray& line);
QString kindOf(const QJsonArray& message);
/// The texts behind the kind, or behind as many more.
QStringList textsOf(const QJsonArray& message, int from = 1);
/// Whether a file's name stands in the words of a command: as a word, behind the "=" of an option, or with an ending
/// that a command adds (".heads", ".sig").
bool isNamedIn(const QStringList& words, const QString& name);

} // namespace CommandProtocol

/// Puts together the lines of a stream, in linear time however it is cut.
class LineBuffer
{
public:
    void add(const QByteArray& data) { m_data += data; }
    /// Takes the next whole line without its line feed; false when there is none yet.
    bool take(QByteArray& line);
    /// Takes what stands behind the last line feed.
    QByteArray takeRest();
    /// How long the line is whose end has not come.
    int pending() const { return int(m_data.size()) - m_begin; }

private:
    QByteArray m_data;
    int m_begin = 0;   // of the first line that was not taken
    int m_scanned = 0; // up to here there is no line feed
};
