#pragma once

#include <foundation/core/export.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QVector>

/// A mail of plain text, the same as an HTML page, and attachments, ready for CSmtpClient::sendMail().
///
///     CMailMessage message;
///     message.setSubject(QStringLiteral("Visitors today"));
///     message.setText(QStringLiteral("The list is attached."));
///     message.attach(QStringLiteral("visitors.csv"), csv);
///     client->sendMail(recipients, message.toBytes(account, recipients));
///
/// All texts are plain: what HTML would take for markup is escaped on its way into the page. The mail has an id of its
/// own ("Message-ID"), by which whoever gets it twice knows it again.
class KYR_FOUNDATION_EXPORT CMailMessage
{
public:
    void setSubject(const QString& subject) { m_subject = subject; }
    QString subject() const { return m_subject; }
    /// What mail programs show beside the subject.
    void setPreheader(const QString& preheader) { m_preheader = preheader; }
    void setText(const QString& text) { m_text = text; }
    /// `name` is what the recipient sees, without a folder; what kind of file it is, is known by its ending and
    /// content.
    void attach(const QString& name, const QByteArray& content);
    /// Of all attachments.
    qint64 attachedBytes() const;

    /// The whole mail with its header lines. `recipients` are separated as CSmtpClient takes them.
    QByteArray toBytes(const QString& account, const QString& recipients) const;
    /// The same without the line "From:", which whoever sends it puts in front.
    QByteArray toBytesWithoutSender(const QString& recipients) const;
    static QByteArray senderLine(const QString& account);

private:
    struct Attachment
    {
        QString name;
        QByteArray content;
    };

    QString m_subject;
    QString m_preheader;
    QString m_text;
    QVector<Attachment> m_attachments;
};
