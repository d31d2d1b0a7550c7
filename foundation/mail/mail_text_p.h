#pragma once

#include <foundation/core/export.h>

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QString>

/// The texts of a mail as they go to an SMTP server.
namespace MailText {

/// Why an address must not stand in a command or a header line; empty when it may.
QString addressFault(const QString& address);

/// The addresses of a list separated by commas, semicolons and blanks.
QStringList splitAddresses(const QString& list);

/// Brings line ends to CR LF, doubles the dots that lines begin with, and adds the terminating line.
KYR_FOUNDATION_TEST_EXPORT QByteArray withDotsStuffed(const QByteArray& body);

/// As a header line names them; folded where it would become too long.
QByteArray joinedAddresses(const QList<QByteArray>& addresses);

/// Plain text and HTML of the same, as a part that begins with its header line and ends behind its boundary; `escape`
/// the texts for the HTML, or take them as they are; `stuffDots` in front of lines that begin with a dot, for who sends
/// it without withDotsStuffed(). Empty when the template is missing.
QByteArray alternatives(const QString& subject, const QString& preheader, const QString& message, bool escape,
                        bool stuffDots);

/// A complete mail of two alternatives, plain text and HTML, ready to be sent; `escape` the texts for the HTML, or take
/// them as they are. Empty when the template is missing.
QByteArray fromTemplate(const QString& account, const QList<QByteArray>& recipients, const QString& subject,
                        const QString& preheader, const QString& message, bool escape);

} // namespace MailText
