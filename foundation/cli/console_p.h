#pragma once

#include <atomic>
#include <cstddef>
#include <string>

/// The process's console without any framework type, so that each platform's source compiles by itself. All text is
/// UTF-8; writes are unbuffered.
class CConsole
{
public:
    enum class ReadResult
    {
        Line,        ///< a line was read; its line end (LF or CR LF) is cut off
        End,         ///< the input has ended, nothing was read
        Interrupted, ///< interrupt() was called
    };

    CConsole();
    ~CConsole();
    CConsole(const CConsole&) = delete;
    CConsole& operator=(const CConsole&) = delete;

    /// Blocks until a whole line is there. Input that several lines share is kept for the next calls. One thread only.
    ReadResult readLine(std::string& line);
    /// Ends a waiting read and all later ones. Any thread.
    void interrupt();
    /// Writes all bytes; false when the other end has gone. Any thread.
    bool writeOutput(const char* data, std::size_t size);
    /// The same for a prompt, which is text in the console's own 8-bit encoding.
    bool writePrompt(const char* data, std::size_t size);
    bool writeError(const char* data, std::size_t size);

private:
    enum class Fill
    {
        Data,
        End,
        Interrupted,
    };
    /// Waits for input and appends it to m_buffer.
    Fill fill();

    std::string m_buffer; // read, but not yet handed out
    std::atomic<bool> m_interrupted{false};
#ifdef _WIN32
    void* m_reader = nullptr; // handle of the reading thread, made once
    std::atomic<bool> m_reading{false};
#else
    int m_wakeUp[2] = {-1, -1}; // a byte in this pipe ends the waiting
#endif
};

// The part that both platforms share.
inline CConsole::ReadResult CConsole::readLine(std::string& line)
{
    std::size_t searched = 0; // so that a long line is looked through once, not once for each piece of it
    for (;;) {
        if (m_interrupted)
            return ReadResult::Interrupted;
        std::size_t end = m_buffer.find('\n', searched);
        const bool complete = end != std::string::npos;
        if (!complete) {
            searched = m_buffer.size();
            const Fill result = fill();
            if (result == Fill::Data)
                continue;
            if (result == Fill::Interrupted)
                return ReadResult::Interrupted;
            if (m_buffer.empty())
                return ReadResult::End;
            end = m_buffer.size();
        }
        line.assign(m_buffer, 0, end);
        m_buffer.erase(0, complete ? end + 1 : end);
        line.erase(line.find_last_not_of("\r\n") + 1);
        return ReadResult::Line;
    }
}
