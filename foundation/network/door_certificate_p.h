#pragma once

#include <QtCore/QString>

class QSslConfiguration;

/// What a TLS door offers its visitors with this certificate chain and key, from PEM files: TLS 1.3 and 1.2 with
/// forward secrecy by elliptic curves, and with `finiteFieldDh` by finite fields, too. It asks for nobody's
/// certificate. False with a reason when the files cannot be used or do not belong together; then nothing is changed.
bool configureDoor(QSslConfiguration& configuration, const QString& certificateFile, const QString& keyFile,
                   bool finiteFieldDh, QString& error);
