#include <foundation/mail/smtp_reply_reader_p.h>

#include <foundation/core/utf8_p.h>

#include <algorithm>

namespace {

bool isFinal(const QByteArray& line)
{
    if (line.size() > 3)
        return line.at(3) == ' ';
    return line.size() == 3 && std::all_of(line.begin(), line.end(), [](char c) { return c >= '0' && c <= '9'; });
}

} // namespace

SmtpReplyReader::Result SmtpReplyReader::next(QStringList* lines)
{
    int begin = m_taken; // of the next line
    Result result = Incomplete;
    while (result == Incomplete) {
        const int lineEnd = int(m_pending.indexOf('\n', qMax(begin, m_scanned)));
        const int length = (lineEnd < 0 ? int(m_pending.size()) : lineEnd) - begin;
        if (length > maxLineLength + 1) { // a CR is no part of it
            result = TooLong;
            break;
        }
        if (lineEnd < 0)
            break;
        QByteArray line = m_pending.mid(begin, length);
        if (line.endsWith('\r'))
            line.chop(1);
        begin = lineEnd + 1;
        if (line.isEmpty())
            continue;
        m_lines += utf8Whole(line);
        m_replyLength += length;
        if (line.size() > maxLineLength || m_replyLength > maxReplyLength)
            result = TooLong;
        else if (isFinal(line))
            result = Complete;
    }
    m_taken = begin;
    if (result == Incomplete) {
        // Not after each reply: one read may hold thousands of them.
        m_pending.remove(0, m_taken);
        m_taken = 0;
    }
    m_scanned = result == Incomplete ? int(m_pending.size()) : 0;
    if (result == Complete) {
        *lines = m_lines;
        m_lines.clear();
        m_replyLength = 0;
    }
    return result;
}

int SmtpReplyReader::clear()
{
    const int left = m_replyLength + int(m_pending.size()) - m_taken;
    *this = SmtpReplyReader();
    return left;
}
