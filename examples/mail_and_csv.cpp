#include <foundation/core/debug.h>
#include <foundation/formats/csv_writer.h>
#include <foundation/mail/smtp_client.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDateTime>
#include <QtCore/QSaveFile>
#include <QtCore/QStringListModel>

// mail_and_csv FILE [ACCOUNT PASSWORD SERVER RECIPIENT]: writes a table to FILE and, when told where, says so by mail.
// SERVER is a host, a host and port ("mail.example.com:465"), or either followed by "[verify_none]".
int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    qInstallMessageHandler(CDebug::messageOutput);
    const QStringList arguments = app.arguments();
    if (arguments.size() != 2 && arguments.size() != 6)
        qFatal("usage: mail_and_csv FILE [ACCOUNT PASSWORD SERVER RECIPIENT]");

    QStringListModel model({QStringLiteral("Main Entrance"), QStringLiteral("Garage; lower level"),
                            QString::fromUtf8("B\xc3\xbcro \"Nord\"")});
    CCsvWriter writer;
    writer.setModel(&model, QPersistentModelIndex());
    writer.setColumns({0});
    QSaveFile file(arguments[1]);
    if (!file.open(QIODevice::WriteOnly))
        qFatal("%s: %s", qPrintable(file.fileName()), qPrintable(file.errorString()));
    writer.write(&file);
    if (!file.commit())
        qFatal("%s: %s", qPrintable(file.fileName()), qPrintable(file.errorString()));
    if (arguments.size() == 2)
        return 0;

    CSmtpClient client(arguments[2], arguments[3], arguments[4], QString(), nullptr);
    // The client logs how the run ended; the exit code tells it to scripts.
    QObject::connect(&client, &CSmtpClient::finished, &app,
                     [&](const QString& error) { app.exit(error.isEmpty() ? 0 : 1); });
    if (!client.sendDefaultTemplateMail(arguments[5], QStringLiteral("List of doors"),
                                        QStringLiteral("The list is ready"),
                                        QStringLiteral("The list of doors was written to %1.").arg(arguments[1])))
        return 1;
    return app.exec();
}
