#include <foundation/mail/mail_text_p.h>
#include <foundation/mail/quoted_printable.h>

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QRandomGenerator>
#include <QtCore/QRegularExpression>
#include <QtCore/QStringList>

namespace {

constexpr int foldAt = 900; // a line of a mail may have 998 characters

// The page with its placeholders replaced in one pass: what looks like a placeholder in a text stays as it is.
QString filledTemplate(const QString& page, const QString& subject, const QString& preheader, const QString& message)
{
    static const QRegularExpression placeholder(QStringLiteral("\\$\\{(HEADER|MESSAGE|PREHEADER)\\}"));
    QString filled;
    int copied = 0;
    for (auto matches = placeholder.globalMatch(page); matches.hasNext();) {
        const QRegularExpressionMatch match = matches.next();
        const QString name = match.captured(1);
        filled += page.mid(copied, match.capturedStart() - copied);
        filled += name == QLatin1String("HEADER") ? subject : name == QLatin1String("MESSAGE") ? message : preheader;
        copied = int(match.capturedEnd());
    }
    return filled + page.mid(copied);
}

QByteArray encodedPart(const QString& text, bool stuffDots)
{
    QByteArray bytes = text.toUtf8();
    // The encoder ends lines at LF and would let a CR through, which no server likes.
    bytes.replace("\r\n", "\n").replace('\r', '\n');
    return CQuotedPrintable::getEncodedText(bytes, stuffDots);
}

} // namespace

QString MailText::addressFault(const QString& address)
{
    for (const QChar c : address) {
        if (c.category() == QChar::Other_Control)
            return QStringLiteral("a control character");
        if (c.isSpace())
            return QStringLiteral("a blank");
        if (c == QLatin1Char('<') || c == QLatin1Char('>'))
            return QStringLiteral("an angle bracket");
    }
    return {};
}

QStringList MailText::splitAddresses(const QString& list)
{
    QStringList addresses;
    int begin = 0;
    for (int i = 0; i <= list.size(); ++i) {
        const QChar c = i < list.size() ? list.at(i) : QLatin1Char(' ');
        if (c == QLatin1Char(',') || c == QLatin1Char(';') || c == QLatin1Char(' ')) {
            if (i > begin)
                addresses += list.mid(begin, i - begin);
            begin = i + 1;
        }
    }
    return addresses;
}

QByteArray MailText::withDotsStuffed(const QByteArray& body)
{
    QByteArray text;
    text.reserve(body.size() + body.size() / 16 + 8);
    bool lineBegins = true;
    for (int i = 0; i < body.size(); ++i) {
        const char c = body.at(i);
        if (c == '\r' || c == '\n') {
            text += "\r\n";
            if (c == '\r' && i + 1 < body.size() && body.at(i + 1) == '\n')
                ++i;
            lineBegins = true;
            continue;
        }
        if (c == '.' && lineBegins)
            text += '.';
        text += c;
        lineBegins = false;
    }
    if (!lineBegins)
        text += "\r\n";
    return text + ".\r\n";
}

QByteArray MailText::joinedAddresses(const QList<QByteArray>& addresses)
{
    QByteArray joined;
    int lineBegin = 0;
    for (const QByteArray& address : addresses) {
        if (!joined.isEmpty()) {
            joined += ',';
            if (joined.size() - lineBegin + address.size() > foldAt) {
                joined += "\r\n";
                lineBegin = int(joined.size());
            }
            joined += ' ';
        }
        joined += address;
    }
    return joined;
}

QByteArray MailText::alternatives(const QString& subject, const QString& preheader, const QString& message, bool escape,
                                  bool stuffDots)
{
    QFile page(QStringLiteral(":/email_template_default.html"));
    if (!page.open(QIODevice::ReadOnly))
        return {};
    const auto inPage = [escape](const QString& text) { return escape ? text.toHtmlEscaped() : text; };
    const QString html =
        filledTemplate(QString::fromUtf8(page.readAll()), inPage(subject), inPage(preheader), inPage(message));
    const QByteArray boundary = "boundary-" + QByteArray::number(QRandomGenerator::global()->generate64());
    const auto part = [&boundary, stuffDots](const char* type, const QString& text) -> QByteArray {
        return "\r\n\r\n--" + boundary + "\r\nContent-Type: " + type + "; charset=\"utf-8\""
               + "\r\nContent-Transfer-Encoding: quoted-printable\r\n\r\n" + encodedPart(text, stuffDots);
    };
    return "Content-Type: multipart/alternative; boundary=\"" + boundary + '"'
           + part("text/plain", message + QStringLiteral("\n\n") + preheader) + part("text/html", html) + "\r\n\r\n--"
           + boundary + "--\r\n";
}

QByteArray MailText::fromTemplate(const QString& account, const QList<QByteArray>& recipients, const QString& subject,
                                  const QString& preheader, const QString& message, bool escape)
{
    const QByteArray body = alternatives(subject, preheader, message, escape, true);
    if (body.isEmpty())
        return {};
    return "From: " + account.toUtf8() + "\r\nTo: " + joinedAddresses(recipients)
           + "\r\nSubject: " + CQuotedPrintable::getUtf8EncodedSubject(subject)
           + "\r\nDate: " + QDateTime::currentDateTime().toString(Qt::RFC2822Date).toLatin1()
           + "\r\nMIME-Version: 1.0\r\n" + body + "\r\n.\r\n";
}
