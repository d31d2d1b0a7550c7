#include "firmware_report.h"

#include <foundation/formats/firmware_byte_array.h>

#include <QtCore/QStringList>
#include <QtCore/QtEndian>

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
        for (int tag = 1; tag < 8; ++tag) { // 8 is the sizes of the packages, which are shown themselves
            const QByteArray value = m_firmware.fieldValue(tag);
            const int elementSize = CFirmwareByteArray::elementSize(tag);
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
        const auto packages = m_firmware.softwarePackages(shownElements);
        for (int i = 0; i < packages.size(); ++i) {
            const CFirmwareByteArray::SoftwarePackage& package = packages.at(i);
            const qint64 end = package.offset + package.size;
            const QString place = QStringLiteral("%1 to %2").arg(m_partOffset + package.offset).arg(m_partOffset + end);
            const bool isInFile = end <= m_firmware.size();
            if (package.nameLength < 0) {
                m_faultless = false;
                line(QStringLiteral("  FAULT at %1: package %2, %3, %4")
                         .arg(m_partOffset + package.offset)
                         .arg(i + 1)
                         .arg(place, isInFile ? QStringLiteral("has no name that ends in a zero byte")
                                              : QStringLiteral("ends behind the file")));
                if (!isInFile)
                    return;
            } else {
                line(QStringLiteral("  package       \"%1\", %2 (%3 bytes of content)")
                         .arg(printable(m_firmware.mid(int(package.offset), int(package.nameLength))), place)
                         .arg(package.size - package.nameLength - 1));
            }
        }
        const int count = int(m_firmware.fieldValue(8).size()) / CFirmwareByteArray::elementSize(8);
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
