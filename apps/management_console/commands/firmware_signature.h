#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

/// Signatures of firmware files, which stand beside them in a file of their own (FILE.sig): whose key signed them is
/// who answers for them. RSA (PKCS #1 v1.5, SHA-256) or Ed25519, by the kind of the key; what OpenSSL's own tools sign
/// and verify is the same.
namespace FirmwareSignature {

/// The signature of the bytes; empty with an error when the PEM text holds no such private key without a pass phrase.
QByteArray sign(const QByteArray& bytes, const QByteArray& privateKeyPem, QString& error);
/// False with an error: the key is none, or it did not sign these bytes.
bool verify(const QByteArray& bytes, const QByteArray& signature, const QByteArray& publicKeyPem, QString& error);
/// Whether each part of a firmware file tells a version, and none below the least one. False with an error.
bool isRecent(const QByteArray& bytes, quint32 leastVersion, QString& error);

} // namespace FirmwareSignature
