#include <foundation/cli/console_p.h>

#include <windows.h>

namespace {

constexpr DWORD readSize = 512; // UTF-16 units of one console read

bool isConsole(HANDLE handle)
{
    DWORD mode = 0;
    return GetConsoleMode(handle, &mode) != 0;
}

// Redirected to a file or a pipe: the bytes as they are.
bool writeToFile(HANDLE handle, const char* data, std::size_t size)
{
    while (size > 0) {
        DWORD written = 0;
        const DWORD part = size < 0x10000 ? DWORD(size) : 0x10000;
        if (!WriteFile(handle, data, part, &written, nullptr) || written == 0)
            return false;
        data += written;
        size -= written;
    }
    return true;
}

// One call of the console's functions takes a limited amount (64 KiB in older consoles).
template<typename Character, typename Function>
bool writeToConsole(Function write, HANDLE handle, const Character* text, std::size_t size)
{
    while (size > 0) {
        DWORD written = 0;
        if (!write(handle, text, size < 8192 ? DWORD(size) : 8192, &written, nullptr) || written == 0)
            return false;
        text += written;
        size -= written;
    }
    return true;
}

bool writeAll(DWORD which, const char* data, std::size_t size)
{
    const HANDLE handle = GetStdHandle(which);
    if (!isConsole(handle))
        return writeToFile(handle, data, size);
    const int length = MultiByteToWideChar(CP_UTF8, 0, data, int(size), nullptr, 0);
    std::wstring text(std::size_t(length), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, data, int(size), &text[0], length);
    return writeToConsole(WriteConsoleW, handle, text.data(), text.size());
}

std::string toUtf8(const std::wstring& text)
{
    const int size = WideCharToMultiByte(CP_UTF8, 0, text.data(), int(text.size()), nullptr, 0, nullptr, nullptr);
    std::string bytes(std::size_t(size), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text.data(), int(text.size()), &bytes[0], size, nullptr, nullptr);
    return bytes;
}

} // namespace

CConsole::CConsole() = default;

CConsole::~CConsole()
{
    if (m_reader)
        CloseHandle(m_reader);
}

void CConsole::interrupt()
{
    m_interrupted = true;
    // The reader may stand just before its call, where there is nothing to cancel yet: ask until it has noticed.
    for (int attempt = 0; attempt < 100; ++attempt) {
        if (!m_reading)
            return;
        CancelSynchronousIo(m_reader);
        Sleep(5);
    }
}

CConsole::Fill CConsole::fill()
{
    if (!m_reader
        && !DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &m_reader, THREAD_TERMINATE,
                            FALSE, 0))
        m_reader = nullptr;
    m_reading = m_reader != nullptr;
    const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    Fill result = Fill::End;
    if (m_interrupted) {
        result = Fill::Interrupted;
    } else if (isConsole(input)) {
        // Up to the line feed, so that no character is cut in two between reads.
        std::wstring text;
        wchar_t part[readSize];
        DWORD count = 0;
        do {
            count = 0;
            if (!ReadConsoleW(input, part, readSize, &count, nullptr))
                break;
            text.append(part, count);
        } while (count > 0 && text.back() != L'\n' && !m_interrupted);
        m_buffer += toUtf8(text);
        // Ctrl+Z at the start of a line is the end of the input.
        if (!text.empty() && text.front() != L'\x1a')
            result = Fill::Data;
    } else {
        char part[4096];
        DWORD count = 0;
        if (ReadFile(input, part, sizeof part, &count, nullptr) && count > 0) {
            m_buffer.append(part, count);
            result = Fill::Data;
        }
    }
    m_reading = false;
    return m_interrupted ? Fill::Interrupted : result;
}

bool CConsole::writeOutput(const char* data, std::size_t size)
{
    return writeAll(STD_OUTPUT_HANDLE, data, size);
}

bool CConsole::writePrompt(const char* data, std::size_t size)
{
    const HANDLE handle = GetStdHandle(STD_OUTPUT_HANDLE);
    return isConsole(handle) ? writeToConsole(WriteConsoleA, handle, data, size) : writeToFile(handle, data, size);
}

bool CConsole::writeError(const char* data, std::size_t size)
{
    return writeAll(STD_ERROR_HANDLE, data, size);
}
