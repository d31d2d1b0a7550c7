#include <foundation/mail/mail_message.h>
#include <foundation/mail/mail_text_p.h>
#include <foundation/mail/quoted_printable.h>

#include <QtCore/QDateTime>
#include <QtCore/QMimeDatabase>
#include <QtCore/QRandomGenerator>
#include <QtCore/QSysInfo>
#include <QtCore/QUrl>

namespace {

constexpr int base64LineLength = 76;

QByteArray inLines(const QByteArray& base64)
{
    QByteArray lines;
    lines.reserve(base64.size() + base64.size() / base64LineLength * 2 + 2);
    for (int i = 0; i < base64.size(); i += base64LineLength)
        lines += base64.mid(i, base64LineLength) + "\r\n";
    return lines;
}

// A file's name as a parameter of a header line, whatever it holds.
QByteArray nameParameter(const QString& name)
{
    return "filename*=UTF-8''" + QUrl::toPercentEncoding(name);
}

QByteArray randomText()
{
    QByteArray text;
    for (int i = 0; i < 2; ++i)
        text += QByteArray::number(QRandomGenerator::system()->generate64(), 36);
    return text;
}

} // namespace

void CMailMessage::attach(const QString& name, const QByteArray& content)
{
    m_attachments.append({name, content});
}

qint64 CMailMessage::attachedBytes() const
{
    qint64 bytes = 0;
    for (const Attachment& attachment : m_attachments)
        bytes += attachment.content.size();
    return bytes;
}

QByteArray CMailMessage::senderLine(const QString& account)
{
    return "From: " + account.toUtf8() + "\r\n";
}

QByteArray CMailMessage::toBytes(const QString& account, const QString& recipients) const
{
    return senderLine(account) + toBytesWithoutSender(recipients);
}

QByteArray CMailMessage::toBytesWithoutSender(const QString& recipients) const
{
    QList<QByteArray> addresses;
    const QStringList all = MailText::splitAddresses(recipients);
    for (const QString& address : all)
        addresses.append(address.toUtf8());
    const QByteArray host = QUrl::toAce(QSysInfo::machineHostName());
    const QByteArray boundary = "mixed-" + randomText();
    QByteArray mail = "To: " + MailText::joinedAddresses(addresses)
                      + "\r\nSubject: " + CQuotedPrintable::getUtf8EncodedSubject(m_subject) + "\r\nDate: "
                      + QDateTime::currentDateTime().toString(Qt::RFC2822Date).toLatin1() + "\r\nMessage-ID: <"
                      + randomText() + '@' + (host.isEmpty() ? "localhost" : host) + ">\r\nMIME-Version: 1.0\r\n";
    const QByteArray body = MailText::alternatives(m_subject, m_preheader, m_text, true, false);
    if (m_attachments.isEmpty())
        return mail + body;
    mail += "Content-Type: multipart/mixed; boundary=\"" + boundary + "\"\r\n\r\n--" + boundary + "\r\n" + body;
    for (const Attachment& attachment : m_attachments) {
        const QString type = QMimeDatabase().mimeTypeForFileNameAndData(attachment.name, attachment.content).name();
        mail += "\r\n--" + boundary + "\r\nContent-Type: " + type.toLatin1() + "\r\nContent-Disposition: attachment; "
                + nameParameter(attachment.name) + "\r\nContent-Transfer-Encoding: base64\r\n\r\n"
                + inLines(attachment.content.toBase64());
    }
    return mail + "\r\n--" + boundary + "--\r\n";
}
