#pragma once

#include <foundation/core/export.h>

#include <QtCore/QByteArray>
#include <QtCore/QStringList>

/// Puts the replies of an SMTP server together from bytes that arrive in any pieces. A reply is one or more lines, all
/// but the last with a hyphen behind the code.
class KYR_FOUNDATION_TEST_EXPORT SmtpReplyReader
{
public:
    /// A server is not trusted: without limits it could fill the memory until the run's time is up.
    static constexpr int maxLineLength = 64 * 1024;
    static constexpr int maxReplyLength = 256 * 1024;

    enum Result
    {
        Incomplete, ///< more bytes are needed
        Complete,   ///< `lines` holds the next reply
        TooLong,    ///< a line or a reply is beyond its limit; only clear() helps
    };

    void feed(const QByteArray& bytes) { m_pending += bytes; }
    Result next(QStringList* lines);
    /// Forgets everything; gives the number of bytes that no reply was made of.
    int clear();

private:
    QByteArray m_pending; // not yet a line, behind
    int m_taken = 0;      // bytes that are done with
    int m_scanned = 0;    // how far `m_pending` holds no line end
    QStringList m_lines;  // of the reply that is under way
    int m_replyLength = 0;
};
