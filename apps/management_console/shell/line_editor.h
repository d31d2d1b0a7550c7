#pragma once

#include "shell/completion.h"
#include "shell/line_history.h"

#include <foundation/cli/abstract_cli_io.h>

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <deque>
#include <memory>

class QSocketNotifier;
struct editline;
struct historyW;

/// A terminal as a channel whose lines can be edited: history, search in it (Ctrl+R), completion (Tab). It runs on the
/// event loop, and nothing that is typed makes that wait. What is written while a line is being typed appears above it
/// and leaves it whole.
///
/// While no line is asked for the terminal is as it was: Ctrl+C is the signal, what is typed ahead waits.
class LineEditor : public CAbstractCliIO
{
    Q_OBJECT

public:
    LineEditor(const QString& prompt, const QString& historyFile, QObject* parent = nullptr);
    ~LineEditor() override;

    /// Somebody types at a terminal whose cursor can be moved.
    static bool isPossible();

    void writeLine(const QString& line) override;
    void writeErrorLine(const QString& line) override;
    void flushStandardOutput() override;
    void readLine() override;
    void start() override { readLine(); }
    void stop() override;

    /// The user's Ctrl+C: takes away what is typed. False when nothing was.
    bool clearLine();
    /// Asks for a line that is not shown: hiddenLineReady(), or hiddenEnded() when the user gives none. stop() or
    /// readLine() takes the question back.
    void readHidden(const QString& question);
    /// What may follow `text`, an answer to completionWanted(); nothing when more was typed since.
    void complete(const QString& text, const Completion& completion);

Q_SIGNALS:
    /// The user wants to know what may follow the text before the cursor.
    void completionWanted(const QString& text);
    void hiddenLineReady(const QString& line);
    void hiddenEnded();

private:
    enum class State
    {
        Idle,
        Typing,
        Searching,
        Hidden
    };

    static int onWantsKey(editline* editor, wchar_t* key);
    static wchar_t* onWantsPrompt(editline* editor);

    void begin(State state);
    void end();
    void onReadable();
    void onResized();
    void onContinued();
    void processKeys();
    void handleKey(const QByteArray& key);
    void handleHidden(const QByteArray& key);
    bool handleSearch(const QByteArray& key);
    void search(int before);
    void endSearch(bool keepFound);
    void feed(const QByteArray& key);
    void finishLine(QString line);
    void finishInput();

    QString typed() const;
    int cursor() const;
    void setTyped(const QString& text, int cursor);
    void erase();
    void refresh();
    void showAnew();
    void insert(const QString& text);
    void insertCompletion(int place, const QString& word, bool isWhole);
    int shownRow() const;

    editline* m_editor;
    historyW* m_entries;
    LineHistory m_history;
    std::wstring m_prompt;
    std::wstring m_shownPrompt;
    std::unique_ptr<QSocketNotifier> m_input;
    State m_state = State::Idle;
    QByteArray m_received;      // keys that were not taken yet
    std::deque<wchar_t> m_keys; // of the key that the editor takes
    QString m_hidden;           // what was typed unseen
    QString m_before;           // the line before the search
    QString m_pattern;          // what is searched
    int m_found = -1;           // line of the history
    int m_columns = 0;
    bool m_keysPending = false;
};
