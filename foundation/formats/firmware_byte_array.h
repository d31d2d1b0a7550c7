#pragma once

#include <foundation/core/export.h>
#include <foundation/datatypes/hardware_architecture.h>

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QString>

#include <array>

/// A firmware file in memory: one part for each hardware architecture, each a header with tagged fields and its data.
/// The layout is drawn in docs/firmware-image.md. The byte array itself is the file, or what is left of it after
/// toNextPart(). Files are not trusted: whatever the bytes are, every method ends, reads nothing outside the file and
/// reports faults as `false`.
///
///     CFirmwareByteArray firmware(file.readAll());
///     if (firmware.toFirmwareForArchitecture(CHardwareArchitecture::hardwareArchitecture(type)))
///         send(firmware.checkedData());
///
/// and to build a file:
///
///     CFirmwareByteArray firmware(image);
///     firmware.setHardwareArchitecture(architecture);
///     if (firmware.prependHeader())
///         file.write(firmware);
///
/// Moving on to the next part costs nothing when the array is the only owner of its bytes; otherwise the first move
/// copies the rest of the file, once.
class KYR_FOUNDATION_EXPORT CFirmwareByteArray : public QByteArray
{
public:
    using HardwareArchitecture = CHardwareArchitecture::HardwareArchitecture;

    /// Where a software package should stand by the sizes that the header tells, whether or not it is there.
    struct SoftwarePackage
    {
        qint64 offset;     ///< in the byte array
        qint64 size;       ///< of name, zero byte and content
        qint64 nameLength; ///< in bytes; -1 when no zero byte ends it, or the package does not end within the file
    };

    /// Nothing is parsed: all members are empty or zero until checkHeader().
    CFirmwareByteArray();
    CFirmwareByteArray(const QByteArray& file);
    CFirmwareByteArray(QByteArray&& file);

    /// Validates and reads the header of the first part. False: bytes are missing, or magic or checksum is wrong; then
    /// the members are empty. Unknown or cut-off fields are no fault.
    bool checkHeader();
    /// Validates the data of the current part (without a header: the array from its start) and settles part end and
    /// data architecture. After a fault the part reaches to the end of the array.
    bool checkData();
    /// The bytes from data start to part end; empty when checkData() fails.
    QByteArray checkedData();
    /// The whole current part with its header; also when checkData() fails.
    QByteArray partData();
    /// Drops the current part and clears the members. False, with nothing changed, when the part end is not known or
    /// fewer than 8 bytes follow it.
    bool toNextPart();
    /// Drops parts from the front until the first one is for `arch` (0 counts as 1, as does a part that names none).
    /// False when no part is; then the last part is left.
    bool toFirmwareForArchitecture(HardwareArchitecture arch);

    /// Replaces the content by the packages: name, a zero byte, content for each. A name must not hold a zero byte.
    /// Lists of different lengths change nothing.
    void setSoftwarePackages(const QList<QByteArray>& names, const QList<QByteArray>& contents);
    /// Puts a header in front of the content, made from the members that are set. False, with nothing changed, when
    /// the result would exceed 2 GiB or when the content is no longer what setSoftwarePackages() made.
    bool prependHeader();

    /// The fields of the header, read by checkHeader() or set for prependHeader(). Setters leave out what a field
    /// cannot hold: tag 1 and each element of tag 5 are exactly 3 bytes.
    QByteArray tag1Value() const { return m_values[1]; }
    void setTag1Value(const QByteArray& value);
    QList<quint8> tag2List() const;
    void setTag2List(const QList<quint8>& list);
    QList<quint8> tag3List() const;
    void setTag3List(const QList<quint8>& list);
    QList<quint32> tag4List() const;
    void setTag4List(const QList<quint32>& list);
    QList<QByteArray> tag5List() const;
    void setTag5List(const QList<QByteArray>& list);
    quint8 tag7Value() const;
    void setTag7Value(quint8 value);
    /// From tag 9, or Vybrid for an image of software packages that names none.
    HardwareArchitecture hardwareArchitecture() const { return m_hardwareArchitecture; }
    void setHardwareArchitecture(HardwareArchitecture arch) { m_hardwareArchitecture = arch; }
    /// Copied out of the content at each call. A package without a zero byte or outside the file is left out.
    QList<QByteArray> softwarePackageNames() const;
    QList<QByteArray> softwarePackageContents() const;
    /// The bytes of tags 1 to 5, 7 and 8 as they stand in the header; empty when absent, and for all other tags.
    QByteArray fieldValue(int tag) const;
    /// The bytes that one element of such a field has; 0 for all other tags.
    static int elementSize(int tag);
    /// The first packages of the current part, so many at most: a file may tell of millions.
    QList<SoftwarePackage> softwarePackages(int most) const;

    /// What the data's leading bytes say: 0 unknown, otherwise a value of HardwareArchitecture.
    int dataArchitecture() const { return m_dataArchitecture; }
    /// Offsets in the byte array; 0 while unknown.
    qint32 dataStart() const { return m_dataStart; }
    qint32 partEnd() const { return m_partEnd; }

    /// Why the last checkHeader() or checkData() gave false, in English for a technician, and at which offset of the
    /// byte array; an empty text after success.
    QString faultText() const { return m_faultText; }
    qint64 faultOffset() const { return m_faultOffset; }

private:
    void readFields(qint64 headerEnd);
    bool checkContent();
    bool checkFormat4(qint64 available);
    bool checkSections(qint64 available);
    bool settlePartEnd(qint64 end, qint64 faultOffset, const char* what);
    bool fault(qint64 offset, const QString& text);
    quint32 wordAt(qint64 offset) const;
    qint64 packageEnd() const;
    SoftwarePackage packageAt(qint64 offset, quint32 packageSize) const;
    QList<QByteArray> packageHalves(bool names) const;
    void clearPart();

    static constexpr int valueCount = 9;

    // By tag, as bytes: a hostile header of many megabytes must not grow into lists of many more. Software packages
    // are told by their sizes (tag 8) and stand in the content from data start on.
    std::array<QByteArray, valueCount> m_values;
    HardwareArchitecture m_hardwareArchitecture = HardwareArchitecture(0);
    int m_dataArchitecture = 0;
    qint32 m_partEnd = 0;
    qint32 m_dataStart = 0;
    qint64 m_headerEnd = 0;
    QString m_faultText;
    qint64 m_faultOffset = 0;
};
