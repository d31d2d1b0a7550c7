#pragma once

#include <foundation/core/export.h>

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtNetwork/QSslError>

#include <memory>

class SmtpReplyReader;
class QSslSocket;

/// Sends one e-mail at a time over SMTP with STARTTLS or implicit TLS, or only checks the settings of the mail server.
///
///     auto* client = new CSmtpClient(account, password, QStringLiteral("mail.example.com:587"), ownUrl, this);
///     connect(client, &CSmtpClient::finished, client, &QObject::deleteLater);
///     if (!client->sendDefaultTemplateMail(recipients, subject, preheader, message))
///         delete client;
///
/// A run that was started ends with exactly one finished(), never before the start has returned, within 10 seconds. The
/// client may be deleted or may start its next run in the slot of that signal; deleting it earlier ends the run without
/// the signal.
///
/// Starts give false, and nothing is sent, when a run is active (which goes on), when the host is missing, or when
/// account or recipients could smuggle in a command: a control character, a blank or an angle bracket in an address.
/// Recipients are separated by commas, semicolons or blanks. Addresses beyond ASCII take a server that offers SMTPUTF8;
/// with another one the run fails and says so.
class KYR_FOUNDATION_EXPORT CSmtpClient : public QObject
{
    Q_OBJECT

public:
    /// `account`: sender address and user name. `password`: empty means no authentication.
    /// `serverSetting`: host, then optionally ":" and a port (587), then optionally "[verify_none]", which accepts any
    /// certificate. Ports 25, 587 and 2525 begin in plain text and change to TLS when the server offers it, all others
    /// begin with TLS. A password is never sent in plain text.
    /// `clientUrl`: its host is the name given in the greeting; "localhost" when there is none.
    CSmtpClient(const QString& account, const QString& password, const QString& serverSetting, const QString& clientUrl,
                QObject* parent = nullptr);
    ~CSmtpClient() override;

    /// A token of the mail provider's, with which the client logs in (XOAUTH2) instead of the password; empty: none. It
    /// is never sent in plain text.
    void setAccessToken(const QString& token) { m_token = token; }
    /// Whether the server has taken the mail of the last run over, even if the run has failed behind that: then sending
    /// it again would send it twice.
    bool isAccepted() const { return m_accepted; }

    /// Sends a complete mail, headers included. Its line ends become CR LF.
    bool sendMail(const QString& recipients, const QByteArray& body);
    /// What the texts of a template mail are: HTML that goes into the page as it is (and stands as it is in the mail's
    /// plain text, too), or plain text, which is escaped on its way into the page.
    enum class TextForm
    {
        Html,
        Plain
    };
    /// Sends a mail of a plain text and an HTML page made from the built-in template. What comes from outside is given
    /// as TextForm::Plain.
    bool sendDefaultTemplateMail(const QString& recipients, const QString& subject, const QString& preheader,
                                 const QString& message, TextForm form = TextForm::Html);
    /// Goes as far as the acceptance of a recipient (postmaster@example.com) and sends nothing.
    bool checkServerSettings();

    /// Why a list of recipients as a person typed it is refused, for example "\"bad\" is no mail address"; empty when
    /// each has the form `local@domain`. Runs are less strict: they leave it to the server what an address is.
    static QString addressFault(const QString& addresses);
    /// What the run's error does not name: what the system says about the connection that could not be made or was lost
    /// in the last run, for example that the host was not found, or why the provider refused the token. Empty when the
    /// run ended otherwise.
    QString connectionFault() const { return m_cause; }

Q_SIGNALS:
    /// The end of a run; `error` is empty on success.
    void finished(const QString& error);

protected:
    void timerEvent(QTimerEvent* event) override;

private Q_SLOTS:
    void onConnectionStateChanged();
    void onDataReceived();
    void onSslErrors(const QList<QSslError>& errors);

private:
    enum class Event
    {
        Start,
        Data,
        Encrypted
    };
    enum State
    {
        Ended = -1, // given by an action that ended the run, and perhaps the client
        Idle = 0,
        Greeting,
        Hello,
        StartTls,
        Handshake,
        AuthPlain,
        PlainCredentials,
        AuthLogin,
        LoginName,
        LoginPassword,
        TokenLogin,
        TokenRefused,
        Sender,
        Recipients,
        DataCommand,
        MessageText,
        Quit,
    };
    struct Step;
    static const Step steps[];

    bool prepare(const QString& recipients);
    bool start(const QByteArray& message);
    void runStateMachine(Event event);
    State connectToServer();
    State sendHello();
    State negotiate();
    State startEncryption();
    State sendPlainCredentials();
    QByteArray tokenCredentials() const;
    State sendToken();
    State takeTokenAnswer();
    QString tokenFault(const QString& details) const;
    State sendLoginName();
    State sendLoginPassword();
    State sendSender();
    State sendRecipient();
    State sendDataCommand();
    State sendMessage();
    State sendQuit();
    State succeed();
    State fail(const QString& error);

    void logToleratedErrors() const;
    void sendData(const QByteArray& data);
    QString getRxMsg(const QString& keyword) const;
    QString harmless(const QString& serverText) const;
    void stopTimer();
    void closeSocket();
    void finish(const QString& error);

    const QString m_account;
    const QString m_password;
    QString m_token;
    bool m_accepted = false;
    QString m_host;
    QByteArray m_helloName;
    quint16 m_port = 0;
    bool m_implicitTls = false;
    bool m_verifyNone = false;
    QList<QByteArray> m_recipients;
    int m_recipientIndex = 0;
    QByteArray m_message; // empty: the settings are checked
    State m_state = Idle;
    QSslSocket* m_socket = nullptr; // lives for one run
    bool m_encrypted = false;
    bool m_internationalized = false; // the server takes addresses beyond ASCII
    QString m_cause;                  // see connectionFault()
    int m_timerId = 0;
    QStringList m_rxLines; // of the current reply
    std::unique_ptr<SmtpReplyReader> m_replyReader;
};
