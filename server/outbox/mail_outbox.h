#pragma once

#include <server/model/model_mail.h>

#include <QtCore/QDateTime>
#include <QtCore/QObject>
#include <QtCore/QTimer>

#include <memory>

class CDatabase;
class CSmtpClient;

/// Mails that wait in the database until a mail server has taken them: they survive the end of the program, also a
/// kill.
///
///     CMailOutbox outbox(&database);
///     outbox.queue(message, {"anna@example.com", "ben@example.com"}, error);
///     outbox.start(settings);                              // sends them, those of earlier days too
///
/// Each recipient is a run of its own: an address that is refused costs the others nothing. What fails is tried again
/// after growing pauses, from firstPause to longestPause, for mostTries tries; an address or mail that the server
/// refuses for good (550 to 559) is given up at once. What was given up stays in the list, with the reason, until it is
/// removed.
///
/// Several programs may share one database; a mail is held by one at a time. A recipient gets a mail once, except when
/// the program ends between the server's word that it has it and the note of that, or cannot reach the database for
/// longer than another program that can: then it comes again, with the same "Message-ID". No mail is lost.
class KYR_SERVER_EXPORT CMailOutbox : public QObject, public IModelMail
{
    Q_OBJECT

public:
    static constexpr int firstPause = 30;     ///< s, doubled with each try
    static constexpr int longestPause = 3600; ///< s
    static constexpr int mostTries = 100;     ///< about four days
    /// Of a whole mail, in bytes, and of its recipients.
    static constexpr int largestMail = 50 * 1024 * 1024;
    static constexpr int mostRecipients = 10000;

    struct Settings
    {
        QString server;  ///< as CSmtpClient takes it
        QString account; ///< sender and user name
        QString password;
        QString token; ///< of XOAUTH2; empty: none
        /// Whose first line is the token, read anew for each mail: tokens last an hour or so. Empty: `token` counts.
        QString tokenFile;
    };

    /// A mail to one recipient that was not sent yet.
    struct Entry
    {
        qint64 id = 0;
        QString recipient;
        QString subject;
        QDateTime queued;
        int tries = 0;
        QDateTime next; ///< invalid for one that was given up
        QString error;  ///< of the last try
    };

    /// The database outlives it.
    explicit CMailOutbox(CDatabase* database, QObject* parent = nullptr);
    ~CMailOutbox() override;

    bool queue(const CMailMessage& message, const QStringList& addresses, QString& error) override;
    /// Sends what waits, and what will. What waited for its next try is tried at once.
    void start(const Settings& settings);

    /// What is not sent yet, given up ones included, in the order in which it was queued.
    QList<Entry> entries() const;
    /// How many recipients wait for their mail, and how many were given up.
    int waiting() const;
    int givenUp() const;
    /// Takes a recipient out of the list, by Entry::id. False when there is none of that number.
    bool remove(qint64 id);

Q_SIGNALS:
    /// A run has ended; `error` is empty when the server has the mail.
    void tried(const QString& recipient, const QString& error);

private:
    struct Held;
    struct Conclusion;
    void wake();
    void sendNext();
    bool hold(Held& held, qint64& nextDue);
    void conclude(const QString& error);
    bool note(const Conclusion& conclusion);

    CDatabase* m_database;
    Settings m_settings;
    CSmtpClient* m_client = nullptr; // while one is under way
    std::unique_ptr<Held> m_held;
    std::unique_ptr<Conclusion> m_unnoted; // before it is no other mail is sent
    QTimer m_timer;
    bool m_started = false;
};
