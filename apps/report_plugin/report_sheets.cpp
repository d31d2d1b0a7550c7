#include "report_sheets.h"

#include <QtCore/QDataStream>
#include <QtCore/QIODevice>
#include <QtCore/QStringList>
#include <QtCore/QtEndian>

namespace {

constexpr quint32 maxFrame = 512U * 1024 * 1024;

// Texts in UTF-8, which takes half of the room.
QByteArray framed(const QStringList& texts)
{
    QByteArray frame;
    QDataStream stream(&frame, QIODevice::WriteOnly);
    stream.setVersion(QDataStream::Qt_5_6);
    stream << quint32(0);
    for (const QString& text : texts)
        stream << text.toUtf8();
    qToBigEndian(quint32(frame.size() - ReportSheets::lengthBytes), frame.data());
    return frame;
}

bool take(const QByteArray& frame, std::initializer_list<QString*> texts)
{
    QDataStream stream(frame);
    stream.setVersion(QDataStream::Qt_5_6);
    for (QString* text : texts) {
        QByteArray bytes;
        stream >> bytes;
        *text = QString::fromUtf8(bytes);
    }
    return stream.status() == QDataStream::Ok && stream.atEnd();
}

} // namespace

QByteArray ReportSheets::encoded(const Setup& setup)
{
    return framed({setup.title, setup.footer, setup.pageText, setup.fontDirectory});
}

QByteArray ReportSheets::encoded(const Sheet& sheet)
{
    return framed({sheet.name, sheet.html});
}

bool ReportSheets::isAbsurd(quint32 length)
{
    return length == 0 || length > maxFrame;
}

quint32 ReportSheets::lengthOf(const QByteArray& bytes)
{
    return bytes.size() < lengthBytes ? 0 : qFromBigEndian<quint32>(bytes.constData());
}

bool ReportSheets::decode(const QByteArray& frame, Setup& setup)
{
    return take(frame, {&setup.title, &setup.footer, &setup.pageText, &setup.fontDirectory});
}

bool ReportSheets::decode(const QByteArray& frame, Sheet& sheet)
{
    return take(frame, {&sheet.name, &sheet.html});
}
