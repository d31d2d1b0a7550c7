#include "shell/line_editor.h"

#include "shell/choices.h"
#include "shell/command_words.h"
#include "shell/line_keys.h"
#include "shell/terminal.h"
#include "shell/terminal_signals.h"

#include <foundation/core/environment_variable.h>

#include <QtCore/QPointer>
#include <QtCore/QSocketNotifier>

#include <cerrno>
#include <histedit.h>
#include <unistd.h>

using namespace LineKeys;

namespace {

constexpr int mostHistory = LineHistory::mostLines;

// The library takes a change in the middle of such a line for one of as many columns as characters.
bool hasUnevenWidth(const QString& text)
{
    return Terminal::width(text) != text.size();
}

} // namespace

LineEditor::LineEditor(const QString& prompt, const QString& historyFile, QObject* parent)
    : CAbstractCliIO(parent)
    , m_editor(el_init("kyr_console", stdin, stdout, stderr))
    , m_entries(history_winit())
    , m_history(historyFile)
    , m_prompt(prompt.toStdWString())
{
    HistEventW event{};
    history_w(m_entries, &event, H_SETSIZE, mostHistory);
    for (const QString& line : m_history.lines())
        history_w(m_entries, &event, H_ENTER, line.toStdWString().c_str());
    el_wset(m_editor, EL_CLIENTDATA, this);
    el_wset(m_editor, EL_PROMPT, &LineEditor::onWantsPrompt);
    el_wset(m_editor, EL_EDITOR, L"emacs");
    el_wset(m_editor, EL_HIST, history_w, m_entries);
    el_wset(m_editor, EL_GETCFN, &LineEditor::onWantsKey);
    el_wset(m_editor, EL_SIGNAL, 0);
    el_wset(m_editor, EL_BIND, L"^W", L"ed-delete-prev-word", nullptr);
    m_input = std::make_unique<QSocketNotifier>(0, QSocketNotifier::Read);
    m_input->setEnabled(false);
    connect(m_input.get(), &QSocketNotifier::activated, this, &LineEditor::onReadable);
    connect(TerminalSignals::instance(), &TerminalSignals::resized, this, &LineEditor::onResized);
    connect(TerminalSignals::instance(), &TerminalSignals::continued, this, &LineEditor::onContinued);
}

LineEditor::~LineEditor()
{
    end();
    history_wend(m_entries);
    el_end(m_editor);
}

bool LineEditor::isPossible()
{
    const QString kind = CEnvironmentVariable::valueTrimmed("TERM");
    return Terminal::isInteractive() && !kind.isEmpty() && kind != QLatin1String("dumb");
}

int LineEditor::onWantsKey(editline* editor, wchar_t* key)
{
    void* self = nullptr;
    el_wget(editor, EL_CLIENTDATA, &self);
    std::deque<wchar_t>& keys = static_cast<LineEditor*>(self)->m_keys;
    if (keys.empty())
        return 0;
    *key = keys.front();
    keys.pop_front();
    return 1;
}

wchar_t* LineEditor::onWantsPrompt(editline* editor)
{
    void* self = nullptr;
    el_wget(editor, EL_CLIENTDATA, &self);
    return static_cast<LineEditor*>(self)->m_shownPrompt.data();
}

void LineEditor::begin(State state)
{
    m_state = state;
    m_columns = Terminal::size().columns;
    el_wset(m_editor, EL_UNBUFFERED, 1); // shows the prompt
    m_input->setEnabled(true);
    // What came together with the last line.
    if (!m_received.isEmpty() && !m_keysPending) {
        m_keysPending = true;
        QMetaObject::invokeMethod(this, &LineEditor::processKeys, Qt::QueuedConnection);
    }
}

// The terminal as it was before.
void LineEditor::end()
{
    if (m_state == State::Idle)
        return;
    m_state = State::Idle;
    m_input->setEnabled(false);
    el_wset(m_editor, EL_UNBUFFERED, 0);
}

void LineEditor::readLine()
{
    stop();
    m_shownPrompt = m_prompt;
    begin(State::Typing);
}

void LineEditor::readHidden(const QString& question)
{
    stop();
    m_shownPrompt = question.toStdWString();
    m_hidden.clear();
    begin(State::Hidden);
}

void LineEditor::stop()
{
    erase(); // what is written next begins there
    end();
}

void LineEditor::writeLine(const QString& line)
{
    erase();
    std::fputs((line + QLatin1Char('\n')).toUtf8().constData(), stdout);
    std::fflush(stdout);
    refresh();
}

void LineEditor::writeErrorLine(const QString& line)
{
    erase();
    std::fputs((line + QLatin1Char('\n')).toUtf8().constData(), stderr);
    std::fflush(stderr);
    refresh();
}

void LineEditor::flushStandardOutput()
{
    std::fflush(stdout);
}

bool LineEditor::clearLine()
{
    if (m_state == State::Searching) {
        endSearch(false);
        return true;
    }
    if (m_state != State::Typing || typed().isEmpty())
        return false;
    // The line stays on the screen as it was given up, and a new one begins.
    erase();
    setTyped(typed(), int(typed().size()));
    end();
    Terminal::show(QStringLiteral("^C\n"));
    m_received.clear();
    readLine();
    return true;
}

void LineEditor::onContinued()
{
    if (m_state == State::Idle)
        return;
    // Whoever had the terminal meanwhile may have changed it.
    el_wset(m_editor, EL_PREP_TERM, 0);
    el_wset(m_editor, EL_PREP_TERM, 1);
    refresh();
}

void LineEditor::onResized()
{
    if (m_state == State::Idle)
        return;
    m_columns = Terminal::size().columns;
    erase();
    el_resize(m_editor);
    refresh();
}

void LineEditor::showAnew()
{
    erase();
    refresh();
}

void LineEditor::onReadable()
{
    char data[4096];
    const ssize_t count = ::read(0, data, sizeof data);
    if (count < 0 && (errno == EINTR || errno == EAGAIN || errno == EWOULDBLOCK))
        return;
    if (count <= 0)
        return finishInput();
    m_received.append(data, int(count));
    processKeys();
}

void LineEditor::processKeys()
{
    m_keysPending = false;
    const QPointer<LineEditor> self(this);
    while (self && m_state != State::Idle) {
        const QByteArray key = LineKeys::take(m_received);
        if (key.isEmpty())
            return;
        handleKey(key);
    }
}

void LineEditor::handleKey(const QByteArray& key)
{
    if (m_state == State::Hidden)
        return handleHidden(key);
    if (m_state == State::Searching && handleSearch(key))
        return;
    const char first = key.at(0);
    if (first == ctrlR) {
        m_before = typed();
        m_pattern.clear();
        m_found = -1;
        m_state = State::Searching;
        search(int(m_history.lines().size()));
    } else if (first == ctrlD && typed().isEmpty()) {
        finishInput();
    } else if (first == ctrlC) {
        // Only where the terminal makes no signal of it.
        clearLine();
    } else if (first == '\t') {
        Q_EMIT completionWanted(typed().left(cursor()));
    } else if (!isControl(first) && key.size() > 1) {
        insert(QString::fromUtf8(key));
    } else {
        const QByteArray known = LineKeys::known(key);
        // Delete at the end of a line is not the end of the input.
        if (!known.isEmpty() && (key.at(0) != escape || known.at(0) != ctrlD || cursor() < typed().size()))
            feed(known);
    }
}

void LineEditor::handleHidden(const QByteArray& key)
{
    const char first = key.at(0);
    if (first == '\r' || first == '\n') {
        const QString line = m_hidden;
        m_hidden.clear();
        Terminal::show(QStringLiteral("\n"));
        end();
        Q_EMIT hiddenLineReady(line);
    } else if (first == ctrlD && m_hidden.isEmpty()) {
        Terminal::show(QStringLiteral("\n"));
        end();
        Q_EMIT hiddenEnded();
    } else if (first == ctrlU) {
        m_hidden.clear();
    } else if (first == backspace || first == rubout) {
        m_hidden.chop(m_hidden.size() > 1 && m_hidden.at(m_hidden.size() - 1).isLowSurrogate() ? 2 : 1);
    } else if (!isControl(first)) {
        m_hidden += QString::fromUtf8(key);
    }
}

// False for a key that ends the search and is one of the line's.
bool LineEditor::handleSearch(const QByteArray& key)
{
    const char first = key.at(0);
    if (first == ctrlR) {
        search(m_found < 0 ? int(m_history.lines().size()) : m_found);
    } else if (first == backspace || first == rubout) {
        m_pattern.chop(1);
        search(int(m_history.lines().size()));
    } else if (first == ctrlG || first == ctrlC) {
        endSearch(false);
    } else if (!isControl(first)) {
        m_pattern += QString::fromUtf8(key);
        search(m_found < 0 ? int(m_history.lines().size()) : m_found + 1);
    } else {
        endSearch(true);
        return false;
    }
    return true;
}

void LineEditor::search(int before)
{
    const int found = m_pattern.isEmpty() ? -1 : m_history.find(m_pattern, before);
    const bool failed = found < 0 && !m_pattern.isEmpty();
    if (found >= 0)
        m_found = found;
    erase();
    m_shownPrompt = QStringLiteral("(%1 \"%2\") ")
                        .arg(failed ? QStringLiteral("not found") : QStringLiteral("search"), m_pattern)
                        .toStdWString();
    const QString line = m_found >= 0 ? m_history.lines().at(m_found) : m_before;
    const int place = int(line.indexOf(m_pattern, 0, Qt::CaseInsensitive));
    setTyped(line, m_pattern.isEmpty() || place < 0 ? int(line.size()) : place);
}

void LineEditor::endSearch(bool keepFound)
{
    erase();
    m_state = State::Typing;
    m_shownPrompt = m_prompt;
    const QString line = keepFound ? typed() : m_before;
    setTyped(line, keepFound ? cursor() : int(line.size()));
}

void LineEditor::feed(const QByteArray& key)
{
    const std::wstring characters = key == "\r" ? std::wstring(L"\n") : QString::fromUtf8(key).toStdWString();
    m_keys.assign(characters.begin(), characters.end());
    int count = 0;
    const wchar_t* line = el_wgets(m_editor, &count);
    m_keys.clear();
    if (line && count > 0 && line[count - 1] == L'\n')
        finishLine(QString::fromWCharArray(line, count - 1));
    else if (hasUnevenWidth(typed()))
        showAnew();
}

void LineEditor::finishLine(QString line)
{
    end();
    line.remove(QChar(0));
    const int known = int(m_history.lines().size());
    m_history.add(line);
    if (m_history.lines().size() > known) {
        HistEventW event{};
        history_w(m_entries, &event, H_ENTER, line.toStdWString().c_str());
    }
    Q_EMIT lineReady(line);
}

void LineEditor::finishInput()
{
    Terminal::show(QStringLiteral("\n"));
    end();
    Q_EMIT inputEnded();
}

QString LineEditor::typed() const
{
    const LineInfoW* line = el_wline(m_editor);
    return QString::fromWCharArray(line->buffer, int(line->lastchar - line->buffer));
}

int LineEditor::cursor() const
{
    const LineInfoW* line = el_wline(m_editor);
    return int(QString::fromWCharArray(line->buffer, int(line->cursor - line->buffer)).size());
}

// What is shown must be erased before.
void LineEditor::setTyped(const QString& text, int cursor)
{
    const LineInfoW* line = el_wline(m_editor);
    const QString before = text.left(cursor);
    const std::wstring wide = text.toStdWString();
    const QString old = typed();
    if (old != text) {
        el_cursor(m_editor, int(line->lastchar - line->cursor));
        el_wdeletestr(m_editor, int(el_wline(m_editor)->cursor - el_wline(m_editor)->buffer));
        el_winsertstr(m_editor, wide.c_str());
    }
    line = el_wline(m_editor);
    el_cursor(m_editor, int(before.toStdWString().size()) - int(line->cursor - line->buffer));
    refresh();
}

// The row of the cursor, counted from that of the prompt.
int LineEditor::shownRow() const
{
    if (m_columns <= 0)
        return 0;
    int row = 0;
    int column = 0;
    const auto pass = [&](int width) {
        if (column + width > m_columns) {
            ++row;
            column = 0;
        }
        column += width;
        if (column == m_columns) {
            ++row;
            column = 0;
        }
    };
    const QString text =
        QString::fromStdWString(m_shownPrompt) + (m_state == State::Hidden ? QString() : typed().left(cursor()));
    for (int i = 0; i < text.size(); ++i) {
        const int size = text.at(i).isHighSurrogate() && i + 1 < text.size() ? 2 : 1;
        pass(text.at(i) < QLatin1Char(' ') ? 2 : Terminal::width(text.mid(i, size)));
        i += size - 1;
    }
    const int rows = Terminal::size().rows;
    return rows > 0 ? qMin(row, rows - 1) : row;
}

// Takes what is shown from the screen and leaves the cursor where the prompt began.
void LineEditor::erase()
{
    if (m_state == State::Idle)
        return;
    const int row = shownRow();
    Terminal::show(QLatin1Char('\r') + (row > 0 ? QStringLiteral("\033[%1A").arg(row) : QString())
                   + QLatin1String("\033[J"));
}

// Shows it again from where the cursor stands.
void LineEditor::refresh()
{
    if (m_state != State::Idle)
        el_wset(m_editor, EL_REFRESH);
}

void LineEditor::insert(const QString& text)
{
    erase();
    el_winsertstr(m_editor, text.toStdWString().c_str());
    refresh();
}

void LineEditor::insertCompletion(int place, const QString& word, bool isWhole)
{
    QString text = isWhole ? quotedWord(word) : word;
    const bool goesOn = word.endsWith(QLatin1Char('=')) || word.endsWith(QLatin1Char('/'));
    if (!isWhole || goesOn) {
        // More follows: a quote that it needs stays open.
        text = quotedWord(word);
        if (text != word)
            text.chop(1);
    } else {
        text += QLatin1Char(' ');
    }
    const QString line = typed();
    const int end = cursor();
    erase();
    setTyped(line.left(place) + text + line.mid(end), place + int(text.size()));
}

void LineEditor::complete(const QString& text, const Completion& completion)
{
    if (m_state != State::Typing || typed().left(cursor()) != text)
        return;
    const LineBegin begin = lineBegin(text);
    QStringList words = completion.words;
    if (completion.files && begin.word.startsWith(completion.filePrefix)) {
        const QStringList files = filesThatBeginWith(begin.word.mid(completion.filePrefix.size()));
        for (const QString& file : files)
            words.append(completion.filePrefix + file);
    }
    if (words.isEmpty())
        return Terminal::show(QStringLiteral("\a"));
    if (words.size() == 1)
        return insertCompletion(begin.place, words.constFirst(), true);
    const QString common = commonBegin(words);
    if (common.size() > begin.word.size())
        return insertCompletion(begin.place, common, false);
    writeLine(choicesInColumns(words, m_columns).join(QLatin1Char('\n')));
}
