#include "firmware_report.h"

#include <foundation/formats/firmware_byte_array.h>

#include <QtCore/QJsonArray>
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
                const QString text = QStringLiteral("there are more than %1 parts: those from %2 on are not shown")
                                         .arg(shownParts)
                                         .arg(m_partOffset);
                addFault(m_faults, m_partOffset, text);
                line(text);
                return;
            }
            describePart();
        } while (m_firmware.toNextPart());
        const qint64 end = m_partOffset + m_firmware.partEnd();
        if (m_firmware.partEnd() > 0 && end < m_fileSize)
            tellFault(m_faults, QString(), end, QStringLiteral("%1 bytes after the last part").arg(m_fileSize - end));
    }

    QString text() const { return m_text; }
    bool isFaultless() const { return m_faultless; }
    QJsonObject json() const
    {
        return {{QStringLiteral("faultless"), m_faultless},
                {QStringLiteral("parts"), m_partList},
                {QStringLiteral("faults"), m_faults}};
    }

private:
    void line(const QString& text) { m_text += text + QLatin1Char('\n'); }

    void addFault(QJsonArray& faults, qint64 offset, const QString& text)
    {
        m_faultless = false;
        faults.append(QJsonObject{{QStringLiteral("offset"), offset}, {QStringLiteral("text"), text}});
    }

    void tellFault(QJsonArray& faults, const QString& indent, qint64 offset, const QString& text)
    {
        addFault(faults, offset, text);
        line(indent + QStringLiteral("FAULT at %1: %2").arg(offset).arg(text));
    }

    void describePart()
    {
        m_part = {{QStringLiteral("offset"), m_partOffset}};
        m_partFaults = {};
        line(QStringLiteral("part %1 at %2").arg(m_parts).arg(m_partOffset));
        const bool headerValid = m_firmware.checkHeader();
        if (headerValid)
            line(QStringLiteral("  header        valid"));
        else
            describeFault();
        const bool dataValid = m_firmware.checkData();
        m_part.insert(QStringLiteral("headerValid"), headerValid);
        m_part.insert(QStringLiteral("dataValid"), dataValid);
        m_part.insert(QStringLiteral("dataBegin"), m_partOffset + m_firmware.dataStart());
        m_part.insert(QStringLiteral("dataEnd"), m_partOffset + m_firmware.partEnd());
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
        m_part.insert(QStringLiteral("headerArchitecture"), name(int(m_firmware.hardwareArchitecture())));
        m_part.insert(QStringLiteral("dataArchitecture"), name(m_firmware.dataArchitecture()));
        line(QStringLiteral("  architecture  header: %1, data: %2")
                 .arg(name(int(m_firmware.hardwareArchitecture())), name(m_firmware.dataArchitecture())));
        describeFields();
        describePackages();
        m_part.insert(QStringLiteral("faults"), m_partFaults);
        m_partList.append(m_part);
    }

    void describeFault()
    {
        tellFault(m_partFaults, QStringLiteral("  "), m_partOffset + m_firmware.faultOffset(), m_firmware.faultText());
    }

    void describeFields()
    {
        QJsonObject fields;
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
            fields.insert(QString::number(tag), QJsonArray::fromStringList(elements));
            if (count > shownElements)
                elements += QStringLiteral("... (%1 in all)").arg(count);
            line(QStringLiteral("  tag %1         %2").arg(tag).arg(elements.join(QLatin1String(", "))));
        }
        m_part.insert(QStringLiteral("fields"), fields);
    }

    void describePackages()
    {
        QJsonArray all;
        const auto packages = m_firmware.softwarePackages(shownElements);
        for (int i = 0; i < packages.size(); ++i) {
            const CFirmwareByteArray::SoftwarePackage& package = packages.at(i);
            const qint64 end = package.offset + package.size;
            const QString place = QStringLiteral("%1 to %2").arg(m_partOffset + package.offset).arg(m_partOffset + end);
            const bool isInFile = end <= m_firmware.size();
            if (package.nameLength < 0) {
                tellFault(m_partFaults, QStringLiteral("  "), m_partOffset + package.offset,
                          QStringLiteral("package %1, %2, %3")
                              .arg(i + 1)
                              .arg(place, isInFile ? QStringLiteral("has no name that ends in a zero byte")
                                                   : QStringLiteral("ends after the end of the file")));
                if (!isInFile) {
                    m_part.insert(QStringLiteral("packages"), all);
                    return;
                }
            } else {
                const QString name = printable(m_firmware.mid(int(package.offset), int(package.nameLength)));
                const qint64 size = package.size - package.nameLength - 1;
                all.append(QJsonObject{{QStringLiteral("name"), name},
                                       {QStringLiteral("begin"), m_partOffset + package.offset},
                                       {QStringLiteral("end"), m_partOffset + end},
                                       {QStringLiteral("size"), size}});
                line(QStringLiteral("  package       \"%1\", %2 (%3 bytes of content)").arg(name, place).arg(size));
            }
        }
        m_part.insert(QStringLiteral("packages"), all);
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
    QJsonObject m_part;
    QJsonArray m_partFaults;
    QJsonArray m_partList;
    QJsonArray m_faults;
};

} // namespace

QString firmwareReport(const QByteArray& file, bool* faultless, QJsonObject* json)
{
    const Report report(file);
    if (faultless)
        *faultless = report.isFaultless();
    if (json)
        *json = report.json();
    return report.text();
}
