#include <server/model/one_time_password_p.h>

#include <QtCore/QMessageAuthenticationCode>
#include <QtCore/QtEndian>

QString OneTimePassword::code(const QByteArray& secret, qint64 step, int digits)
{
    const qint64 counter = qToBigEndian(step);
    const QByteArray message(reinterpret_cast<const char*>(&counter), sizeof counter);
    const QByteArray mac = QMessageAuthenticationCode::hash(message, secret, QCryptographicHash::Sha1);
    const int offset = mac.back() & 0xf;
    quint32 number = qFromBigEndian<quint32>(mac.constData() + offset) & 0x7fffffff;
    quint32 modulus = 1;
    for (int i = 0; i < digits; ++i)
        modulus *= 10;
    return QString::number(number % modulus).rightJustified(digits, QLatin1Char('0'));
}

qint64 OneTimePassword::stepOf(const QByteArray& secret, const QString& text, qint64 now)
{
    const qint64 present = now / stepLength;
    qint64 found = 0;
    for (qint64 step = present - tolerance; step <= present + tolerance; ++step) {
        if (code(secret, step) == text)
            found = step;
    }
    return secret.isEmpty() ? 0 : found;
}

QString OneTimePassword::toBase32(const QByteArray& bytes)
{
    static const char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZ234567";
    QString text;
    quint32 bits = 0;
    int count = 0;
    for (const char byte : bytes) {
        bits = bits << 8 | quint8(byte);
        for (count += 8; count >= 5; count -= 5)
            text += QLatin1Char(digits[bits >> (count - 5) & 31]);
    }
    if (count > 0)
        text += QLatin1Char(digits[bits << (5 - count) & 31]);
    return text;
}
