#pragma once

#include <QtCore/QString>

/// Looks at what a server is to show its visitors: whether both files can be read, and whether the key is that of the
/// first certificate. False with the reason in `error`. A certificate that is out of its time, or is about to be, is
/// told in `warning` and no reason to refuse it: a door that opens with an old certificate is better than none.
bool checkServerCertificate(const QString& certificateFile, const QString& keyFile, QString& error, QString& warning);
