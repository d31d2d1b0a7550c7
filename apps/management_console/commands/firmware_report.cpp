#include "firmware_report.h"

#include <foundation/formats/firmware_byte_array.h>

#include <QtCore/QStringList>
#include <QtCore/QtEndian>

#include <cstring>

namespace {

constexpr int shownElements = 16;   // of a list
constexpr int shownParts = 1000;    // of a file
constexpr int shownCharacters = 60; // of a name

class Report
{
public:
    explicit Report(const QByteArray& file)
        : m_fileSize(file.size())
        , m_firmware(file)
    {
        do {
            m_partOffset = m_fileSize - m_firmware.size();
            if (++m_parts > shownParts) {
                m_faultless = false;
                line(QStringLiteral("more than %1 parts, the rest from %2 on is not shown")
                         .arg(shownParts)
                         .arg(m_partOffset));
                return;
            }
            describePart();
        } while (m_firmware.toNextPart());
        const qint64 end = m_partOffset + m_firmware.partEnd();
        if (m_firmware.partEnd() > 0 && end < m_fileSize) {
            m_faultless = false;
            line(QStringLiteral("FAULT at %1: %2 bytes behind the last part").arg(end).arg(m_fileSize - end));
        }
    }

    QString text() const { return m_text; }
    bool isFaultless() const { return m_faultless; }

private:
    void line(const QString& text) { m_text += text + QLatin1Char('\n'); }

    void describePart()
    {
        line(QStringLiteral("part %1 at %2").arg(m_parts).arg(m_partOffset));
        const bool headerValid = m_firmware.checkHeader();
        if (headerValid)
            line(QStringLiteral("  header        valid"));
        else
            describeFault();
        const bool dataValid = m_firmware.checkData();
        const QString range = QStringLiteral("%1 to %2")
                                  .arg(m_partOffset + m_firmware.dataStart())
                                  .arg(m_partOffset + m_firmware.partEnd());
        if (dataValid)
            line(QStringLiteral("  data          valid, %1 (%2 bytes)")
                     .arg(range)
                     .arg(m_firmware.partEnd() - m_firmware.dataStart()));
        else
            describeFault();
        const auto name = [](int architecture) {
            return QLatin1String(CHardwareArchitecture::name(CHardwareArchitecture::cast(architecture)));
        };
        line(QStringLiteral("  architecture  header: %1, data: %2")
                 .arg(name(int(m_firmware.hardwareArchitecture())), name(m_firmware.dataArchitecture())));
        describeFields();
        describePackages();
    }

    void describeFault()
    {
        m_faultless = false;
        line(QStringLiteral("  FAULT at %1: %2")
                 .arg(m_partOffset + m_firmware.faultOffset())
                 .arg(m_firmware.faultText()));
    }

    void describeFields()
    {
        static constexpr int elementSizes[] = {0, 3, 1, 1, 4, 3, 0, 1};
        for (int tag = 1; tag < int(std::size(elementSizes)); ++tag) {
            const QByteArray value = m_firmware.fieldValue(tag);
            const int elementSize = elementSizes[tag];
            if (value.isEmpty() || elementSize == 0)
                continue;
            const int count = int(value.size()) / elementSize;
            QStringList elements;
            for (int i = 0; i < qMin(count, shownElements); ++i) {
                const QByteArray element = value.mid(i * elementSize, elementSize);
                if (elementSize == 1)
                    elements += QString::number(quint8(element.at(0)));
                else if (elementSize == 4)
                    elements += QString::number(qFromLittleEndian<quint32>(element.constData()));
                else
                    elements += QString::fromLatin1(element.toHex(' '));
            }
            if (count > shownElements)
                elements += QStringLiteral("... (%1 in all)").arg(count);
            line(QStringLiteral("  tag %1         %2").arg(tag).arg(elements.join(QLatin1String(", "))));
        }
    }

    void describePackages()
    {
        const QByteArray sizes = m_firmware.fieldValue(8);
        const int count = int(sizes.size()) / 4;
        qint64 begin = m_firmware.dataStart();
        for (int i = 0; i < qMin(count, shownElements); ++i) {
            const qint64 size = qFromLittleEndian<quint32>(sizes.constData() + qint64(i) * 4);
            const qint64 inFile = qBound(qint64(0), m_firmware.size() - begin, size);
            const char* const package = m_firmware.constData() + begin;
            const auto* zero = inFile > 0 ? static_cast<const char*>(std::memchr(package, 0, size_t(inFile))) : nullptr;
            const QString place = QStringLiteral("%1 to %2").arg(m_partOffset + begin).arg(m_partOffset + begin + size);
            if (inFile < size || !zero) {
                m_faultless = false;
                line(QStringLiteral("  FAULT at %1: package %2, %3, %4")
                         .arg(m_partOffset + begin)
                         .arg(i + 1)
                         .arg(place, inFile < size ? QStringLiteral("ends behind the file")
                                                   : QStringLiteral("has no name that ends in a zero byte")));
                if (inFile < size)
                    return;
            } else {
                line(QStringLiteral("  package       \"%1\", %2 (%3 bytes of content)")
                         .arg(printable(QByteArray(package, int(zero - package))), place)
                         .arg(size - (zero - package) - 1));
            }
            begin += size;
        }
        if (count > shownElements)
            line(QStringLiteral("  package       ... (%1 in all)").arg(count));
    }

    // A name comes from the file and goes to a terminal.
    static QString printable(const QByteArray& name)
    {
        QString text;
        for (const char byte : name.left(shownCharacters)) {
            if (byte >= 0x20 && byte < 0x7F && byte != '\\' && byte != '"')
                text += QLatin1Char(byte);
            else
                text += QStringLiteral("\\x%1").arg(quint8(byte), 2, 16, QLatin1Char('0'));
        }
        return name.size() > shownCharacters ? text + QStringLiteral("...") : text;
    }

    const qint64 m_fileSize;
    CFirmwareByteArray m_firmware;
    qint64 m_partOffset = 0;
    int m_parts = 0;
    bool m_faultless = true;
    QString m_text;
};

} // namespace

QString firmwareReport(const QByteArray& file, bool* faultless)
{
    const Report report(file);
    if (faultless)
        *faultless = report.isFaultless();
    return report.text();
}
