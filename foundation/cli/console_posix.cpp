#include <foundation/cli/console_p.h>

#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace {

// Descriptors that were closed when the library was loaded. What has their numbers by now was opened for something
// else, a socket perhaps or the event loop's own; only a terminal was put there on purpose.
struct StandardDescriptors
{
    bool closedAtStart[3] = {};

    StandardDescriptors()
    {
        for (int descriptor = 0; descriptor < 3; ++descriptor)
            closedAtStart[descriptor] = ::fcntl(descriptor, F_GETFD) < 0;
    }
    bool isUsable(int descriptor) const { return !closedAtStart[descriptor] || ::isatty(descriptor) == 1; }
};
const StandardDescriptors standardDescriptors;

bool writeAll(int descriptor, const char* data, std::size_t size)
{
    if (!standardDescriptors.isUsable(descriptor))
        return false;
    while (size > 0) {
        const ssize_t written = ::write(descriptor, data, size);
        if (written >= 0) {
            data += written;
            size -= std::size_t(written);
        } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
            // The terminal was made non-blocking by someone who shares it.
            pollfd wait{descriptor, POLLOUT, 0};
            ::poll(&wait, 1, -1);
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

} // namespace

CConsole::CConsole()
{
    if (::pipe(m_wakeUp) != 0) {
        m_wakeUp[0] = m_wakeUp[1] = -1;
        return;
    }
    for (int descriptor : m_wakeUp) {
        ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
        ::fcntl(descriptor, F_SETFL, O_NONBLOCK);
    }
}

CConsole::~CConsole()
{
    for (int descriptor : m_wakeUp) {
        if (descriptor >= 0)
            ::close(descriptor);
    }
}

void CConsole::interrupt()
{
    m_interrupted = true;
    if (m_wakeUp[1] >= 0) {
        const char byte = 0;
        // A full pipe wakes the reader as well.
        [[maybe_unused]] const ssize_t written = ::write(m_wakeUp[1], &byte, 1);
    }
}

CConsole::Fill CConsole::fill()
{
    if (!standardDescriptors.isUsable(STDIN_FILENO))
        return Fill::End;
    for (;;) {
        pollfd descriptors[2] = {{STDIN_FILENO, POLLIN, 0}, {m_wakeUp[0], POLLIN, 0}};
        if (::poll(descriptors, 2, -1) < 0 && errno != EINTR)
            return Fill::End;
        if (m_interrupted)
            return Fill::Interrupted;
        if (descriptors[0].revents == 0)
            continue;
        char data[4096];
        const ssize_t count = ::read(STDIN_FILENO, data, sizeof data);
        if (count > 0) {
            m_buffer.append(data, std::size_t(count));
            return Fill::Data;
        }
        // A closed terminal or descriptor gives an error here; both are an end.
        if (count == 0 || (errno != EINTR && errno != EAGAIN && errno != EWOULDBLOCK))
            return Fill::End;
    }
}

bool CConsole::writeOutput(const char* data, std::size_t size)
{
    return writeAll(STDOUT_FILENO, data, size);
}

bool CConsole::writePrompt(const char* data, std::size_t size)
{
    return writeOutput(data, size);
}

bool CConsole::writeError(const char* data, std::size_t size)
{
    return writeAll(STDERR_FILENO, data, size);
}
