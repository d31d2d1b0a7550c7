// The stream of replies of a mail server.
#include "fuzz_support.h"

#include <foundation/mail/smtp_reply_reader_p.h>

namespace {

struct Conversation
{
    QList<QStringList> replies;
    bool tooLong = false;
};

// Feeds pieces of 1 to `greatest` bytes.
Conversation read(const QByteArray& stream, int greatest)
{
    Conversation conversation;
    SmtpReplyReader reader;
    int length = 1;
    for (int begin = 0; begin < stream.size() && !conversation.tooLong; begin += length) {
        length = greatest < 256 ? 1 + (begin * 7) % greatest : greatest;
        reader.feed(stream.mid(begin, length));
        QStringList lines;
        SmtpReplyReader::Result result = SmtpReplyReader::Incomplete;
        while ((result = reader.next(&lines)) == SmtpReplyReader::Complete)
            conversation.replies += lines;
        conversation.tooLong = result == SmtpReplyReader::TooLong;
    }
    FUZZ_CHECK(reader.clear() <= stream.size());
    FUZZ_CHECK(reader.clear() == 0);
    return conversation;
}

} // namespace

FUZZ_TARGET(smtp_replies)
{
    const int greatest = 1 + input.byte();
    const QByteArray stream = input.rest();
    const Conversation whole = read(stream, qMax(stream.size(), 256));
    qint64 held = 0;
    for (const QStringList& lines : whole.replies) {
        FUZZ_CHECK(!lines.isEmpty());
        qint64 reply = 0;
        for (const QString& line : lines) {
            FUZZ_CHECK(!line.isEmpty() && line.size() <= SmtpReplyReader::maxLineLength);
            FUZZ_CHECK(!line.contains(QLatin1Char('\n')));
            reply += line.size();
        }
        FUZZ_CHECK(reply <= SmtpReplyReader::maxReplyLength);
        held += reply;
    }
    FUZZ_CHECK(held <= stream.size());

    // However the network cuts the stream, the replies are the same.
    const Conversation pieces = read(stream, greatest);
    FUZZ_CHECK(pieces.replies == whole.replies);
    FUZZ_CHECK(pieces.tooLong == whole.tooLong);
}
