#include "shell/line_editor.h"

#include "shell/command_words.h"
#include "shell/terminal.h"

#include <foundation/core/environment_variable.h>

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QPointer>
#include <QtCore/QSocketNotifier>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <histedit.h>
#include <unistd.h>

namespace {

constexpr int mostHistory = LineHistory::mostLines;
constexpr int mostChoices = 200; // that are shown for one Tab
constexpr int longestKey = 64;   // of a sequence; what is longer is none

constexpr char ctrlC = 3;
constexpr char ctrlD = 4;
constexpr char ctrlG = 7;
constexpr char backspace = 8;
constexpr char ctrlR = 18;
constexpr char ctrlU = 21;
constexpr char escape = 27;
constexpr char rubout = 127;

// Written to by signal handlers: the window has another size, the process goes on after it was stopped.
int signalPipe[2] = {-1, -1};

void onTerminalSignal(int number)
{
    const int error = errno;
    const char byte = number == SIGWINCH ? 'w' : 'c';
    [[maybe_unused]] const ssize_t written = ::write(signalPipe[1], &byte, 1);
    errno = error;
}

bool catchTerminalSignals()
{
    if (signalPipe[0] >= 0)
        return true;
    if (::pipe(signalPipe) != 0)
        return false;
    for (const int descriptor : signalPipe) {
        ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
        ::fcntl(descriptor, F_SETFL, O_NONBLOCK);
    }
    struct sigaction action = {};
    action.sa_handler = onTerminalSignal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    ::sigaction(SIGWINCH, &action, nullptr);
    ::sigaction(SIGCONT, &action, nullptr);
    return true;
}

bool isControl(char byte)
{
    return quint8(byte) < 0x20 || byte == rubout;
}

// How many bytes a character has that begins so; 1 for a byte that begins none.
int bytesOfCharacter(char first)
{
    const auto byte = quint8(first);
    return byte < 0xC0 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
}

// The length of the key that the bytes begin with: one control character, an escape sequence, or characters that are
// inserted. 0: its rest has not come.
int keyLength(const QByteArray& bytes)
{
    const char first = bytes.at(0);
    if (first == escape) {
        if (bytes.size() < 2)
            return 0;
        if (bytes.at(1) != '[' && bytes.at(1) != 'O')
            return 1 + qMin(bytesOfCharacter(bytes.at(1)), int(bytes.size()) - 1);
        for (int i = 2; i < bytes.size(); ++i) {
            if (quint8(bytes.at(i)) >= 0x40 || isControl(bytes.at(i)))
                return i + 1;
            if (i > longestKey)
                return i;
        }
        return 0;
    }
    if (isControl(first))
        return 1;
    int length = 0;
    while (length < bytes.size() && !isControl(bytes.at(length))) {
        const int next = length + bytesOfCharacter(bytes.at(length));
        if (next > bytes.size())
            break;
        length = next;
    }
    return length;
}

// What the library takes for a key of one byte; others ask it to wait for more, or mean nothing here.
constexpr char plainKeys[] = "\001\002\004\005\006\010\013\014\016\020\024\025\027\031\177\r\n";

// Keys of several bytes, and those of one that do the same.
struct Sequence
{
    const char* bytes; // without the escape
    const char* key;
};
constexpr Sequence sequences[] = {
    {"[A", "\020"},     {"OA", "\020"},     {"[B", "\016"},     {"OB", "\016"},   {"[C", "\006"},   {"OC", "\006"},
    {"[D", "\002"},     {"OD", "\002"},     {"[H", "\001"},     {"OH", "\001"},   {"[1~", "\001"},  {"[7~", "\001"},
    {"[F", "\005"},     {"OF", "\005"},     {"[4~", "\005"},    {"[8~", "\005"},  {"[3~", "\004"},  {"[1;5C", "\033f"},
    {"[1;3C", "\033f"}, {"[1;5D", "\033b"}, {"[1;3D", "\033b"}, {"f", "\033f"},   {"b", "\033b"},   {"d", "\033d"},
    {"u", "\033u"},     {"l", "\033l"},     {"c", "\033c"},     {"\177", "\027"}, {"\010", "\027"},
};

// The key as the library knows it; empty when it means nothing.
QByteArray knownKey(const QByteArray& key)
{
    if (key.at(0) != escape)
        return !isControl(key.at(0)) || (key.at(0) != 0 && std::strchr(plainKeys, key.at(0))) ? key : QByteArray();
    for (const Sequence& sequence : sequences) {
        if (key.mid(1) == sequence.bytes)
            return sequence.key;
    }
    return {};
}

QString commonBegin(const QStringList& words)
{
    QString common = words.constFirst();
    for (const QString& word : words) {
        int length = 0;
        while (length < common.size() && length < word.size() && common.at(length) == word.at(length))
            ++length;
        common.truncate(length);
    }
    if (!common.isEmpty() && common.at(common.size() - 1).isHighSurrogate())
        common.chop(1);
    return common;
}

// Names of files that begin so; those of folders end in "/".
QStringList filesThatBeginWith(const QString& text)
{
    const int slash = int(text.lastIndexOf(QLatin1Char('/'))) + 1;
    const QString typedFolder = text.left(slash);
    QString folder = typedFolder;
    if (folder == QLatin1String("~/") || folder.startsWith(QLatin1String("~/")))
        folder.replace(0, 1, QDir::homePath());
    const QString name = text.mid(slash);
    QDir::Filters filters = QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot;
    if (name.startsWith(QLatin1Char('.')))
        filters |= QDir::Hidden;
    QStringList found;
    const QFileInfoList entries =
        QDir(folder.isEmpty() ? QStringLiteral(".") : folder).entryInfoList(filters, QDir::Name);
    for (const QFileInfo& entry : entries) {
        if (entry.fileName().startsWith(name) && Terminal::printable(entry.fileName()) == entry.fileName())
            found.append(folder + entry.fileName() + (entry.isDir() ? QStringLiteral("/") : QString()));
    }
    return found;
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
    if (catchTerminalSignals()) {
        m_signals = std::make_unique<QSocketNotifier>(signalPipe[0], QSocketNotifier::Read);
        connect(m_signals.get(), &QSocketNotifier::activated, this, &LineEditor::onSignal);
    }
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

void LineEditor::onSignal()
{
    char bytes[64];
    const ssize_t count = ::read(signalPipe[0], bytes, sizeof bytes);
    if (count <= 0 || m_state == State::Idle)
        return;
    if (std::find(bytes, bytes + count, 'c') != bytes + count) {
        // Whoever had the terminal meanwhile may have changed it.
        el_wset(m_editor, EL_PREP_TERM, 0);
        el_wset(m_editor, EL_PREP_TERM, 1);
        refresh();
        return;
    }
    m_columns = Terminal::size().columns;
    erase();
    el_resize(m_editor);
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
    QByteArray key;
    while (self && m_state != State::Idle && takeKey(key))
        handleKey(key);
}

bool LineEditor::takeKey(QByteArray& key)
{
    const int length = m_received.isEmpty() ? 0 : keyLength(m_received);
    if (length == 0)
        return false;
    key = m_received.left(length);
    m_received.remove(0, length);
    return true;
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
        const QByteArray known = knownKey(key);
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
}

void LineEditor::finishLine(QString line)
{
    end();
    m_listed.clear();
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

void LineEditor::showChoices(const QStringList& words)
{
    const int columns = m_columns > 0 ? m_columns : 80;
    int width = 1;
    for (const QString& word : words.mid(0, mostChoices))
        width = qMax(width, qMin(Terminal::width(word), columns - 2));
    const int across = qMax(1, columns / (width + 2));
    const int shown = qMin(int(words.size()), mostChoices);
    const int down = (shown + across - 1) / across;
    QStringList lines;
    for (int row = 0; row < down; ++row) {
        QString line;
        for (int i = row; i < shown; i += down) {
            const QString word = Terminal::cut(words.at(i), width);
            line += word;
            if (i + down < shown)
                line += QString(width + 2 - Terminal::width(word), QLatin1Char(' '));
        }
        lines.append(line);
    }
    if (shown < words.size())
        lines.append(QStringLiteral("and %1 more").arg(words.size() - shown));
    writeLine(lines.join(QLatin1Char('\n')));
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
    showChoices(words);
}
