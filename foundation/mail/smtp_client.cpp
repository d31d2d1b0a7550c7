#include <foundation/mail/mail_text_p.h>
#include <foundation/mail/smtp_client.h>
#include <foundation/mail/smtp_reply_reader_p.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDebug>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>
#include <QtCore/QPointer>
#include <QtCore/QTimerEvent>
#include <QtCore/QUrl>
#include <QtNetwork/QSslCertificate>
#include <QtNetwork/QSslError>
#include <QtNetwork/QSslSocket>

#include <algorithm>

namespace {

constexpr quint16 defaultPort = 587;
constexpr int runTimeout = 10000; // ms, for the whole run
constexpr int shownReplyLength = 500;
constexpr int leastSecretLength = 4; // a shorter one stands in any text by chance

} // namespace

// One row a state: what it waits for, the name for the log, and what to do when that has come, which gives the next
// state. A reply with another code ends the run.
struct CSmtpClient::Step
{
    State state;
    Event event;
    const char* code;
    const char* name;
    State (CSmtpClient::*proceed)();
};

// clang-format off
const CSmtpClient::Step CSmtpClient::steps[] = {
    {Idle,             Event::Start,     "",    "start",            &CSmtpClient::connectToServer},
    {Greeting,         Event::Data,      "220", "connection",       &CSmtpClient::sendHello},
    {Hello,            Event::Data,      "250", "EHLO",             &CSmtpClient::negotiate},
    {StartTls,         Event::Data,      "220", "STARTTLS",         &CSmtpClient::startEncryption},
    {Handshake,        Event::Encrypted, "",    "TLS handshake",    &CSmtpClient::sendHello},
    {AuthPlain,        Event::Data,      "334", "AUTH PLAIN",       &CSmtpClient::sendPlainCredentials},
    {PlainCredentials, Event::Data,      "235", "authentication",   &CSmtpClient::sendSender},
    {AuthLogin,        Event::Data,      "334", "AUTH LOGIN",       &CSmtpClient::sendLoginName},
    {LoginName,        Event::Data,      "334", "user name",        &CSmtpClient::sendLoginPassword},
    {LoginPassword,    Event::Data,      "235", "authentication",   &CSmtpClient::sendSender},
    {TokenLogin,       Event::Data,      "",    "authentication",   &CSmtpClient::takeTokenAnswer},
    {TokenRefused,     Event::Data,      "235", "authentication",   &CSmtpClient::sendSender},
    {Sender,           Event::Data,      "250", "sender",           &CSmtpClient::sendRecipient},
    {Recipients,       Event::Data,      "250", "recipients",       &CSmtpClient::sendDataCommand},
    {DataCommand,      Event::Data,      "354", "DATA",             &CSmtpClient::sendMessage},
    {MessageText,      Event::Data,      "250", "message",          &CSmtpClient::sendQuit},
    {Quit,             Event::Data,      "221", "leave-taking",     &CSmtpClient::succeed},
};
// clang-format on

CSmtpClient::CSmtpClient(const QString& account, const QString& password, const QString& serverSetting,
                         const QString& clientUrl, QObject* parent)
    : QObject(parent)
    , m_account(account)
    , m_password(password)
    , m_replyReader(std::make_unique<SmtpReplyReader>())
{
    const QString options = serverSetting.section(QLatin1Char('['), 1).trimmed();
    const QStringList server = serverSetting.section(QLatin1Char('['), 0, 0).trimmed().split(QLatin1Char(':'));
    m_host = server.at(0).trimmed();
    m_port = server.size() > 1 ? server.at(1).trimmed().toUShort() : 0;
    if (m_port == 0)
        m_port = defaultPort;
    m_implicitTls = m_port != 25 && m_port != 587 && m_port != 2525;
    m_verifyNone = options.startsWith(QLatin1String("verify_none"), Qt::CaseInsensitive);
    // The zone of an IPv6 address may hold anything, line breaks included.
    const QString clientHost = QUrl(clientUrl).host();
    const bool usable = !clientHost.isEmpty() && MailText::addressFault(clientHost).isEmpty();
    m_helloName = usable ? clientHost.toUtf8() : QByteArrayLiteral("localhost");
}

CSmtpClient::~CSmtpClient()
{
    // Never within a signal of the socket: it was released before finished() left.
    if (m_socket)
        m_socket->disconnect(this);
}

bool CSmtpClient::sendMail(const QString& recipients, const QByteArray& body)
{
    return prepare(recipients) && start(MailText::withDotsStuffed(body));
}

bool CSmtpClient::sendDefaultTemplateMail(const QString& recipients, const QString& subject, const QString& preheader,
                                          const QString& message, TextForm form)
{
    if (!prepare(recipients))
        return false;
    const QByteArray mail =
        MailText::fromTemplate(m_account, m_recipients, subject, preheader, message, form == TextForm::Plain);
    if (mail.isEmpty()) {
        qWarning("CSmtpClient: the mail template is missing");
        return false;
    }
    return start(mail);
}

bool CSmtpClient::checkServerSettings()
{
    return prepare(QStringLiteral("postmaster@example.com")) && start({});
}

QString CSmtpClient::addressFault(const QString& addresses)
{
    const QStringList all = MailText::splitAddresses(addresses);
    if (all.isEmpty())
        return QStringLiteral("there is no address");
    for (const QString& address : all) {
        const QString held = MailText::addressFault(address);
        if (!held.isEmpty())
            return QStringLiteral("an address holds %1").arg(held);
        const auto at = address.lastIndexOf(QLatin1Char('@'));
        if (at <= 0 || at == address.size() - 1)
            return QStringLiteral("\"%1\" is not a mail address").arg(address);
    }
    return {};
}

// Whether a run may start; takes over the recipients.
bool CSmtpClient::prepare(const QString& recipients)
{
    if (m_state != Idle) {
        qWarning("CSmtpClient: refused to start while another run is active");
        return false;
    }
    const QStringList addresses = MailText::splitAddresses(recipients);
    if (m_host.isEmpty() || m_port == 0 || addresses.isEmpty())
        return false;
    const QString accountFault = MailText::addressFault(m_account);
    if (!accountFault.isEmpty()) {
        qWarning("CSmtpClient: refused an account that holds %s", qUtf8Printable(accountFault));
        return false;
    }
    QList<QByteArray> accepted;
    for (const QString& address : addresses) {
        const QString fault = MailText::addressFault(address);
        if (!fault.isEmpty()) {
            qWarning("CSmtpClient: refused a recipient that holds %s", qUtf8Printable(fault));
            return false;
        }
        accepted += address.toUtf8();
    }
    m_recipients = accepted;
    m_recipientIndex = 0;
    return true;
}

bool CSmtpClient::start(const QByteArray& message)
{
    m_message = message;
    m_accepted = false;
    runStateMachine(Event::Start);
    return true;
}

// May end the run and so delete the client: callers touch no member behind it.
void CSmtpClient::runStateMachine(Event event)
{
    const Step& step = steps[m_state];
    Q_ASSERT(step.state == m_state);
    if (step.event != event)
        return;
    if (event == Event::Data && !m_rxLines.last().startsWith(QLatin1String(step.code))) {
        fail(QCoreApplication::translate("@default", "Server (%1)").arg(harmless(m_rxLines.last())));
        return;
    }
    const State next = (this->*step.proceed)();
    if (next != Ended)
        m_state = next;
}

CSmtpClient::State CSmtpClient::connectToServer()
{
    m_encrypted = false;
    m_internationalized = false;
    m_cause.clear();
    m_rxLines.clear();
    m_replyReader->clear();
    m_socket = new QSslSocket(this);
    if (m_verifyNone)
        m_socket->setPeerVerifyMode(QSslSocket::VerifyNone);
    // Queued, for a connection can fail before the call that opens it returns, and so within the start of the run.
    connect(m_socket, &QSslSocket::stateChanged, this, &CSmtpClient::onConnectionStateChanged, Qt::QueuedConnection);
    connect(m_socket, &QSslSocket::encrypted, this, &CSmtpClient::onConnectionStateChanged);
    connect(m_socket, &QSslSocket::readyRead, this, &CSmtpClient::onDataReceived);
    connect(m_socket, QOverload<const QList<QSslError>&>::of(&QSslSocket::sslErrors), this, &CSmtpClient::onSslErrors);
    // Commands are small and each one waits for its answer.
    connect(m_socket, &QSslSocket::connected, m_socket,
            [socket = m_socket] { socket->setSocketOption(QAbstractSocket::LowDelayOption, 1); });
    m_timerId = startTimer(runTimeout, Qt::CoarseTimer);
    if (m_implicitTls)
        m_socket->connectToHostEncrypted(m_host, m_port);
    else
        m_socket->connectToHost(m_host, m_port);
    return Greeting;
}

CSmtpClient::State CSmtpClient::sendHello()
{
    sendData("EHLO " + m_helloName + "\r\n");
    return Hello;
}

CSmtpClient::State CSmtpClient::negotiate()
{
    if (!m_encrypted && !m_rxLines.filter(QStringLiteral("STARTTLS")).isEmpty()) {
        sendData("STARTTLS\r\n");
        return StartTls;
    }
    m_internationalized = std::any_of(m_rxLines.cbegin(), m_rxLines.cend(), [](const QString& line) {
        return line.mid(4).trimmed().compare(QLatin1String("SMTPUTF8"), Qt::CaseInsensitive) == 0;
    });
    if (m_password.isEmpty() && m_token.isEmpty())
        return sendSender();
    if (!m_encrypted)
        return fail(
            QCoreApplication::translate("@default", "We do not want to authenticate on an unencrypted connection."));
    const QString offered = getRxMsg(QStringLiteral("AUTH"));
    if (!m_token.isEmpty() && offered.contains(QLatin1String("XOAUTH2")))
        return sendToken();
    if (!m_password.isEmpty() && offered.contains(QLatin1String("PLAIN"))) {
        sendData("AUTH PLAIN\r\n");
        return AuthPlain;
    }
    if (!m_password.isEmpty() && offered.contains(QLatin1String("LOGIN"))) {
        sendData("AUTH LOGIN\r\n");
        return AuthLogin;
    }
    return fail(QCoreApplication::translate("@default", "Authorization protocols not yet supported: %1")
                    .arg(harmless(offered.trimmed())));
}

CSmtpClient::State CSmtpClient::startEncryption()
{
    // Whatever stands behind the answer was sent in plain text, by anyone; read later, it would pass for encrypted.
    const qint64 dropped = m_replyReader->clear() + m_socket->readAll().size();
    if (dropped > 0)
        qWarning("CSmtpClient: dropped %lld bytes after the answer to STARTTLS", dropped);
    m_socket->startClientEncryption();
    return Handshake;
}

CSmtpClient::State CSmtpClient::sendPlainCredentials()
{
    const QByteArray credentials = '\0' + m_account.toUtf8() + '\0' + m_password.toUtf8();
    sendData(credentials.toBase64() + "\r\n");
    return PlainCredentials;
}

QByteArray CSmtpClient::tokenCredentials() const
{
    const QByteArray credentials = "user=" + m_account.toUtf8() + "\1auth=Bearer " + m_token.toUtf8() + "\1\1";
    return credentials.toBase64();
}

CSmtpClient::State CSmtpClient::sendToken()
{
    sendData("AUTH XOAUTH2 " + tokenCredentials() + "\r\n");
    return TokenLogin;
}

CSmtpClient::State CSmtpClient::takeTokenAnswer()
{
    const QString reply = m_rxLines.last();
    if (reply.startsWith(QLatin1String("235")))
        return sendSender();
    if (!reply.startsWith(QLatin1String("334")))
        return fail(QCoreApplication::translate("@default", "Server (%1)").arg(harmless(reply)));
    // The refusal's details; the refusal itself comes when these were acknowledged.
    m_cause = tokenFault(reply.mid(4));
    sendData("\r\n");
    return TokenRefused;
}

// What a server says of a token that it does not take: a JSON object in Base64, whose "status" is that of HTTP.
QString CSmtpClient::tokenFault(const QString& details) const
{
    const QByteArray json = QByteArray::fromBase64(details.trimmed().toLatin1());
    const QJsonObject object = QJsonDocument::fromJson(json).object();
    const QString status = harmless(object.value(QLatin1String("status")).toVariant().toString());
    const QString scope = harmless(object.value(QLatin1String("scope")).toString());
    QString fault = status == QLatin1String("400")   ? QStringLiteral("the token is not one for sending mail")
                    : status == QLatin1String("401") ? QStringLiteral("the token is wrong or has expired")
                    : status == QLatin1String("403") ? QStringLiteral("the token does not permit sending mail")
                                                     : QStringLiteral("the token is refused");
    if (!status.isEmpty())
        fault += QStringLiteral(", status %1").arg(status);
    if (!scope.isEmpty())
        fault += QStringLiteral(", needed is the scope %1").arg(scope);
    return fault;
}

CSmtpClient::State CSmtpClient::sendLoginName()
{
    sendData(m_account.toUtf8().toBase64() + "\r\n");
    return LoginName;
}

CSmtpClient::State CSmtpClient::sendLoginPassword()
{
    sendData(m_password.toUtf8().toBase64() + "\r\n");
    return LoginPassword;
}

CSmtpClient::State CSmtpClient::sendSender()
{
    const auto isAscii = [](const QByteArray& address) {
        return std::all_of(address.cbegin(), address.cend(), [](char c) { return static_cast<signed char>(c) >= 0; });
    };
    const QByteArray sender = m_account.toUtf8();
    const bool ascii = isAscii(sender) && std::all_of(m_recipients.cbegin(), m_recipients.cend(), isAscii);
    if (!ascii && !m_internationalized)
        return fail(QCoreApplication::translate("@default", "The server takes only ASCII characters in addresses."));
    sendData("MAIL FROM:<" + sender + (ascii ? ">\r\n" : "> SMTPUTF8\r\n"));
    return Sender;
}

CSmtpClient::State CSmtpClient::sendRecipient()
{
    sendData("RCPT TO:<" + m_recipients.at(m_recipientIndex++) + ">\r\n");
    return m_recipientIndex < m_recipients.size() ? Sender : Recipients;
}

CSmtpClient::State CSmtpClient::sendDataCommand()
{
    if (m_message.isEmpty())
        return sendQuit();
    sendData("DATA\r\n");
    return DataCommand;
}

CSmtpClient::State CSmtpClient::sendMessage()
{
    sendData(m_message);
    return MessageText;
}

CSmtpClient::State CSmtpClient::sendQuit()
{
    m_accepted = !m_message.isEmpty();
    sendData("Quit\r\n");
    return Quit;
}

CSmtpClient::State CSmtpClient::succeed()
{
    finish({});
    return Ended;
}

CSmtpClient::State CSmtpClient::fail(const QString& error)
{
    qDebug("CSmtpClient: failed in step \"%s\"", steps[m_state].name);
    finish(error);
    return Ended;
}

void CSmtpClient::onConnectionStateChanged()
{
    if (!m_socket)
        return;
    if (m_socket->isEncrypted() && !m_encrypted) {
        m_encrypted = true;
        if (m_verifyNone)
            logToleratedErrors();
        runStateMachine(Event::Encrypted);
    } else if (m_socket->state() == QAbstractSocket::UnconnectedState) {
        const QAbstractSocket::SocketError error = m_socket->error();
        if (error != QAbstractSocket::UnknownSocketError && error != QAbstractSocket::RemoteHostClosedError) {
            m_cause = harmless(m_socket->errorString());
            qWarning("CSmtpClient: no connection to %s:%u: %s", qUtf8Printable(harmless(m_host)), m_port,
                     qUtf8Printable(m_cause));
        }
        fail(QCoreApplication::translate("@default", "The remote host closed the connection."));
    }
}

void CSmtpClient::onDataReceived()
{
    const QPointer<CSmtpClient> guard(this);
    const QSslSocket* const socket = m_socket;
    m_replyReader->feed(m_socket->readAll());
    // One read may hold several replies. Each may end the run, and with it the client or this socket.
    while (guard && socket == m_socket) {
        switch (m_replyReader->next(&m_rxLines)) {
        case SmtpReplyReader::Complete:
            runStateMachine(Event::Data);
            break;
        case SmtpReplyReader::Incomplete:
            return;
        case SmtpReplyReader::TooLong:
            fail(QCoreApplication::translate("@default", "The reply of the server is too long."));
            return;
        }
    }
}

void CSmtpClient::onSslErrors(const QList<QSslError>& errors)
{
    if (m_verifyNone)
        m_socket->ignoreSslErrors(errors); // and they are logged once the connection is encrypted
    else
        fail(errors.first().errorString());
}

// With verification off the socket reports no errors: it does not look for any.
void CSmtpClient::logToleratedErrors() const
{
    const QList<QSslError> errors = QSslCertificate::verify(m_socket->peerCertificateChain(), m_host);
    for (const QSslError& error : errors)
        qWarning("CSmtpClient: tolerated SSL error: %s", qUtf8Printable(error.errorString()));
}

void CSmtpClient::timerEvent(QTimerEvent* event)
{
    if (event->timerId() == m_timerId)
        fail(QCoreApplication::translate("@default", "Timeout"));
    else
        QObject::timerEvent(event);
}

void CSmtpClient::sendData(const QByteArray& data)
{
    if (m_socket && m_socket->state() == QAbstractSocket::ConnectedState)
        m_socket->write(data);
}

// What stands behind the keyword in the first line that holds it; empty when none does.
QString CSmtpClient::getRxMsg(const QString& keyword) const
{
    for (const QString& line : m_rxLines) {
        const auto begin = line.indexOf(keyword);
        if (begin >= 0)
            return line.mid(begin + keyword.size());
    }
    return {};
}

// A server's text for the log and the user: short, without control characters, and without the credentials that some
// servers repeat.
QString CSmtpClient::harmless(const QString& serverText) const
{
    const QString hidden = QStringLiteral("***");
    QString text = serverText;
    const QByteArray password = m_password.toUtf8();
    const QByteArray plain = '\0' + m_account.toUtf8() + '\0' + password;
    if (!password.isEmpty())
        text.replace(QString::fromLatin1(plain.toBase64()), hidden)
            .replace(QString::fromLatin1(password.toBase64()), hidden);
    if (!m_token.isEmpty())
        text.replace(QString::fromLatin1(tokenCredentials()), hidden);
    for (const QString& secret : {m_password, m_token}) {
        if (secret.size() >= leastSecretLength)
            text.replace(secret, hidden);
    }
    text.truncate(shownReplyLength);
    for (QChar& c : text) {
        if (c.category() == QChar::Other_Control)
            c = QLatin1Char(' ');
    }
    return text;
}

void CSmtpClient::stopTimer()
{
    if (m_timerId != 0)
        killTimer(m_timerId);
    m_timerId = 0;
}

void CSmtpClient::closeSocket()
{
    if (!m_socket)
        return;
    // The run may be ending within a signal of the socket, and the client with it.
    QSslSocket* const socket = m_socket;
    m_socket = nullptr;
    socket->disconnect();
    socket->setParent(nullptr);
    socket->close();
    socket->deleteLater();
}

void CSmtpClient::finish(const QString& error)
{
    stopTimer();
    closeSocket();
    m_state = Idle;
    const QByteArray run = m_message.isEmpty() ? QByteArray("Verify e-mail settings")
                                               : QByteArray("Send e-mail to '" + m_recipients.join(", ") + "'");
    m_message.clear();
    const QString result =
        error.isEmpty() ? QStringLiteral("finished successfully") : QStringLiteral("failed: %1").arg(error);
    qInfo("CSmtpClient: %s %s", run.constData(), qUtf8Printable(result));
    Q_EMIT finished(error);
}
