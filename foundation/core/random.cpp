#include <foundation/core/random.h>

#include <QtCore/QRandomGenerator>

QByteArray CRandom::getArray(int count)
{
    QByteArray bytes(qMax(count, 0), Qt::Uninitialized);
    for (char& byte : bytes)
        byte = static_cast<char>(QRandomGenerator64::global()->generate());
    return bytes;
}
