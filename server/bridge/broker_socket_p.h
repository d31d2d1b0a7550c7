#pragma once

#include <string>

/// What the thread of a broker's client needs of the operating system. No wait here lasts longer than it is told, and
/// all of them end when the waker is woken.
namespace BrokerSocket {

/// Wakes a thread that waits in wait() or probe().
class Waker
{
public:
    Waker();
    ~Waker();
    Waker(const Waker&) = delete;
    Waker& operator=(const Waker&) = delete;
    bool isValid() const { return m_read >= 0; }
    void wake();
    /// Forgets that it was woken.
    void clear();
    int descriptor() const { return m_read; }

private:
    int m_read = -1;
    int m_write = -1;
};

struct Ready
{
    bool read = false;
    bool write = false;
    bool woken = false;
};

/// Waits for a socket (below 0: for none) to have something, or to take something, or for the waker.
Ready wait(int socket, bool forWriting, const Waker& waker, int milliseconds);

/// Connects to a host, by TLS with `context` (an SSL_CTX, null for none), and ends the connection. Empty when that
/// worked; else why not, in words for a person. `stopped` tells that it was woken instead.
std::string probe(const std::string& host, unsigned short port, void* context, Waker& waker, int milliseconds,
                  bool* stopped);

/// Signals of the process are for other threads.
void keepSignalsAway();

} // namespace BrokerSocket
