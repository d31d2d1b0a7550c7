#include <foundation/formats/firmware_byte_array.h>

#include <foundation/core/qt_compat_p.h>

#include <QtCore/QDebug>
#include <QtCore/QtEndian>

#include <cstring>
#include <iterator>
#include <limits>
#include <zlib.h>

namespace {

constexpr char magic[4] = {'B', 'F', 'F', '\0'};
constexpr qint64 preambleSize = 12; // magic, header length, checksum
constexpr quint8 longLength = 0xFF;
constexpr qint64 leastPart = 8;
constexpr qint64 greatestOffset = std::numeric_limits<qint32>::max();
constexpr int architectureOfPackages = 3;
constexpr int architectureByDefault = 1;
constexpr qint64 format4HeaderSize = 12;
constexpr qint64 sectionTableStart = 4;
constexpr qint64 sectionEntrySize = 8;

// The file's checksum is the usual CRC-32 without its final inversion.
quint32 checksum(const char* bytes, qint64 count)
{
    const uLong crc = crc32(0, reinterpret_cast<const Bytef*>(bytes), static_cast<uInt>(count));
    return ~static_cast<quint32>(crc);
}

void appendWord(QByteArray& bytes, quint32 word)
{
    char buffer[4];
    qToLittleEndian(word, buffer);
    bytes.append(buffer, 4);
}

void appendField(QByteArray& header, quint8 tag, const QByteArray& value)
{
    header.append(char(tag));
    if (value.size() < longLength) {
        header.append(char(value.size()));
    } else {
        header.append(char(longLength));
        appendWord(header, quint32(value.size()));
    }
    header.append(value);
}

QByteArray fromWords(const QList<quint32>& words)
{
    QByteArray bytes;
    bytes.reserve(int(words.size()) * 4);
    for (const quint32 word : words)
        appendWord(bytes, word);
    return bytes;
}

QList<quint32> toWords(const QByteArray& bytes)
{
    QList<quint32> words;
    words.reserve(bytes.size() / 4);
    for (int i = 0; i + 4 <= bytes.size(); i += 4)
        words.append(qFromLittleEndian<quint32>(bytes.constData() + i));
    return words;
}

QByteArray fromSmallNumbers(const QList<quint8>& numbers)
{
    QByteArray bytes;
    bytes.reserve(int(numbers.size()));
    for (const quint8 number : numbers)
        bytes.append(char(number));
    return bytes;
}

QList<quint8> toSmallNumbers(const QByteArray& bytes)
{
    QList<quint8> numbers;
    numbers.reserve(bytes.size());
    for (const char byte : bytes)
        numbers.append(quint8(byte));
    return numbers;
}

QString hex(quint32 word)
{
    return QStringLiteral("0x%1").arg(word, 8, 16, QLatin1Char('0'));
}

} // namespace

CFirmwareByteArray::CFirmwareByteArray() = default;

CFirmwareByteArray::CFirmwareByteArray(const QByteArray& file)
    : QByteArray(file)
{
}

CFirmwareByteArray::CFirmwareByteArray(QByteArray&& file)
    : QByteArray(std::move(file))
{
}

bool CFirmwareByteArray::checkHeader()
{
    clearPart();
    if (size() < preambleSize)
        return fault(size(), QStringLiteral("the header ends early: 12 bytes are needed, %1 are left").arg(size()));
    if (!startsWith(QByteArray::fromRawData(magic, sizeof(magic))))
        return fault(0, QStringLiteral("no header: the magic \"BFF\" is missing"));
    const qint64 headerEnd = preambleSize + wordAt(4);
    if (headerEnd > size() || headerEnd > greatestOffset) {
        return fault(
            4,
            QStringLiteral("the header would end at %1, after the end of the file at %2").arg(headerEnd).arg(size()));
    }
    const quint32 wanted = wordAt(8);
    const quint32 computed = checksum(constData() + preambleSize, headerEnd - preambleSize);
    if (wanted != computed) {
        return fault(8, QStringLiteral("the header's checksum is wrong: it is %1, but %2 would be right")
                            .arg(hex(wanted), hex(computed)));
    }
    readFields(headerEnd);
    return true;
}

// Collects the fields, then interprets them; of a repeated tag the last one wins. A field that does not fit ends the
// walk.
void CFirmwareByteArray::readFields(qint64 headerEnd)
{
    struct
    {
        qint64 offset;
        qint64 length;
        bool present;
    } fields[10] = {};
    m_headerEnd = headerEnd;
    m_dataStart = qint32(headerEnd);
    qint64 offset = preambleSize;
    while (headerEnd - offset >= 2) {
        const auto tag = quint8(at(int(offset)));
        qint64 valueLength = quint8(at(int(offset + 1)));
        offset += 2;
        if (valueLength == longLength) {
            if (headerEnd - offset < 4)
                break;
            valueLength = wordAt(offset);
            offset += 4;
        }
        if (valueLength > headerEnd - offset)
            break;
        if (tag < std::size(fields))
            fields[tag] = {offset, valueLength, true};
        offset += valueLength;
        if (tag == 6)
            m_dataStart = qint32(offset - valueLength);
        else if (tag == 8)
            m_dataStart = qint32(offset);
    }

    // How many bytes an element has; a rest that is none is left out.
    for (int tag = 1; tag < valueCount; ++tag) {
        if (const int element = elementSize(tag))
            m_values[tag] = QByteArray(constData() + fields[tag].offset, int(fields[tag].length / element * element));
    }
    if (fields[1].length != 3)
        m_values[1].clear();
    m_values[7].truncate(1);
    if (fields[8].present) {
        m_partEnd = qint32(qMin(packageEnd(), greatestOffset));
        m_hardwareArchitecture = HardwareArchitecture(architectureOfPackages);
    }
    if (fields[9].present)
        m_hardwareArchitecture =
            CHardwareArchitecture::cast(fields[9].length > 0 ? quint8(at(int(fields[9].offset))) : 0);
}

bool CFirmwareByteArray::checkData()
{
    m_faultText.clear();
    m_faultOffset = 0;
    if (checkContent())
        return true;
    m_partEnd = qint32(qMin(qint64(size()), greatestOffset));
    return false;
}

bool CFirmwareByteArray::checkContent()
{
    const qint64 available = qMax(qint64(0), qint64(size()) - m_dataStart);
    const int format = available > 0 ? quint8(at(m_dataStart)) : 0;
    const int variant = available > 1 ? quint8(at(m_dataStart + 1)) : 0;
    if (format < 3)
        m_dataArchitecture = architectureByDefault;
    else
        m_dataArchitecture = variant == 1 ? 1 : variant == 2 ? 2 : variant == 3 ? 4 : 0;

    if (available == 0)
        return fault(size(), QStringLiteral("there is no data"));
    if (!m_values[8].isEmpty()) {
        if (packageEnd() == m_dataStart)
            return fault(m_dataStart, QStringLiteral("all software packages are empty"));
        return settlePartEnd(packageEnd(), m_dataStart, "the software packages");
    }
    return format == 4 ? checkFormat4(available) : checkSections(available);
}

bool CFirmwareByteArray::checkFormat4(qint64 available)
{
    if (available < format4HeaderSize)
        return fault(size(),
                     QStringLiteral("the data ends early: format 4 needs 12 bytes, %1 are left").arg(available));
    const quint32 dataLength = wordAt(m_dataStart + 8);
    const qint64 end = m_dataStart + qint64(dataLength);
    qDebug("fwDevice: %d", int(qFromLittleEndian<quint16>(constData() + m_dataStart + 2)));
    qDebug("fwVersion: %d", int(wordAt(m_dataStart + 4)));
    qDebug("fwLength: %d", int(dataLength));
    qDebug("end: %d", int(end));
    if (dataLength < format4HeaderSize)
        return fault(m_dataStart + 8, QStringLiteral("a data length of %1 is below the minimum of 12").arg(dataLength));
    return settlePartEnd(end, m_dataStart + 8, "the data");
}

bool CFirmwareByteArray::checkSections(qint64 available)
{
    const qint64 countOffset = m_dataStart + 2;
    if (available < sectionTableStart)
        return fault(size(), QStringLiteral("the data ends early: 4 bytes are needed, %1 are left").arg(available));
    const int count = quint8(at(int(countOffset)));
    if (count == 0)
        return fault(countOffset, QStringLiteral("the data has no sections"));
    if (at(int(countOffset + 1)) != 0)
        return fault(countOffset + 1, QStringLiteral("the byte after the number of sections is not zero"));
    const qint64 tableEnd = sectionTableStart + count * sectionEntrySize;
    if (available < tableEnd)
        return fault(size(), QStringLiteral("the table of %1 sections ends early").arg(count));
    qint64 dataEnd = tableEnd;
    for (int i = 0; i < count; ++i) {
        const qint64 entry = m_dataStart + sectionTableStart + i * sectionEntrySize;
        const qint64 begin = wordAt(entry);
        const qint64 end = begin + wordAt(entry + 4);
        if (begin < tableEnd)
            return fault(entry, QStringLiteral("section %1 begins inside the table of sections").arg(i + 1));
        if (end > available) {
            return fault(entry, QStringLiteral("section %1 would end at %2, after the end of the file at %3")
                                    .arg(i + 1)
                                    .arg(m_dataStart + end)
                                    .arg(size()));
        }
        dataEnd = qMax(dataEnd, end);
    }
    if (dataEnd == tableEnd)
        return fault(m_dataStart + sectionTableStart, QStringLiteral("all sections are empty"));
    return settlePartEnd(m_dataStart + dataEnd, m_dataStart + sectionTableStart, "the last section");
}

bool CFirmwareByteArray::settlePartEnd(qint64 end, qint64 faultOffset, const char* what)
{
    if (end > size() || end > greatestOffset) {
        return fault(faultOffset, QStringLiteral("%1 would end at %2, after the end of the file at %3")
                                      .arg(QLatin1String(what))
                                      .arg(end)
                                      .arg(size()));
    }
    // A part that ended inside its own header could hold the next header there, and so on: checking the headers of such
    // a file would take time by the square of its size.
    if (end < m_headerEnd) {
        return fault(faultOffset, QStringLiteral("%1 would end at %2, inside the header that ends at %3")
                                      .arg(QLatin1String(what))
                                      .arg(end)
                                      .arg(m_headerEnd));
    }
    m_partEnd = qint32(end);
    return true;
}

QByteArray CFirmwareByteArray::checkedData()
{
    return checkData() ? mid(m_dataStart, m_partEnd - m_dataStart) : QByteArray();
}

QByteArray CFirmwareByteArray::partData()
{
    checkData();
    return left(m_partEnd);
}

bool CFirmwareByteArray::toNextPart()
{
    if (m_partEnd < 1 || m_partEnd < m_headerEnd || size() - m_partEnd < leastPart)
        return false;
    const int count = m_partEnd;
    clearPart();
    QtCompat::dropFront(*this, count);
    return true;
}

bool CFirmwareByteArray::toFirmwareForArchitecture(HardwareArchitecture arch)
{
    const int wanted = int(arch) == 0 ? architectureByDefault : int(arch);
    do {
        const bool headerValid = checkHeader();
        const bool dataValid = checkData();
        if (!headerValid && !dataValid)
            return false;
        int found = int(m_hardwareArchitecture);
        if (found == 0)
            found = m_dataArchitecture;
        if (found == 0)
            found = architectureByDefault;
        if (found == wanted)
            return true;
    } while (toNextPart());
    return false;
}

void CFirmwareByteArray::setSoftwarePackages(const QList<QByteArray>& names, const QList<QByteArray>& contents)
{
    if (names.size() != contents.size())
        return;
    QByteArray packages;
    QByteArray sizes;
    for (int i = 0; i < names.size(); ++i) {
        appendWord(sizes, quint32(names.at(i).size()) + 1 + quint32(contents.at(i).size()));
        packages += names.at(i);
        packages += '\0';
        packages += contents.at(i);
    }
    QByteArray::operator=(std::move(packages));
    m_values[8] = sizes;
    m_dataStart = 0;
    m_partEnd = 0;
    m_headerEnd = 0;
    m_dataArchitecture = 0;
}

bool CFirmwareByteArray::prependHeader()
{
    const bool hasPackages = !m_values[8].isEmpty();
    if (hasPackages && packageEnd() - m_dataStart != size())
        return false;

    QByteArray fields;
    for (int tag = 1; tag < valueCount; ++tag) {
        if (!m_values[tag].isEmpty())
            appendField(fields, quint8(tag), m_values[tag]);
    }
    if (int(m_hardwareArchitecture) != 0)
        appendField(fields, 9, QByteArray(1, char(m_hardwareArchitecture)));
    // Last, and so whatever stands before it: the data begin behind the header.
    appendField(fields, 6, QByteArray());

    const qint64 total = preambleSize + fields.size() + qint64(size());
    if (total > greatestOffset)
        return false;
    QByteArray file;
    file.reserve(int(total));
    file.append(magic, sizeof(magic));
    appendWord(file, quint32(fields.size()));
    appendWord(file, checksum(fields.constData(), fields.size()));
    file.append(fields);
    file.append(constData(), size());
    QByteArray::operator=(std::move(file));

    // As checkHeader() would leave them.
    m_headerEnd = preambleSize + fields.size();
    m_dataStart = qint32(m_headerEnd);
    m_partEnd = hasPackages ? size() : 0;
    m_dataArchitecture = 0;
    if (hasPackages && int(m_hardwareArchitecture) == 0)
        m_hardwareArchitecture = HardwareArchitecture(architectureOfPackages);
    return true;
}

void CFirmwareByteArray::setTag1Value(const QByteArray& value)
{
    m_values[1] = value.size() == 3 ? value : QByteArray();
}

QList<quint8> CFirmwareByteArray::tag2List() const
{
    return toSmallNumbers(m_values[2]);
}

void CFirmwareByteArray::setTag2List(const QList<quint8>& list)
{
    m_values[2] = fromSmallNumbers(list);
}

QList<quint8> CFirmwareByteArray::tag3List() const
{
    return toSmallNumbers(m_values[3]);
}

void CFirmwareByteArray::setTag3List(const QList<quint8>& list)
{
    m_values[3] = fromSmallNumbers(list);
}

QList<quint32> CFirmwareByteArray::tag4List() const
{
    return toWords(m_values[4]);
}

void CFirmwareByteArray::setTag4List(const QList<quint32>& list)
{
    m_values[4] = fromWords(list);
}

QList<QByteArray> CFirmwareByteArray::tag5List() const
{
    QList<QByteArray> list;
    for (int i = 0; i < m_values[5].size(); i += 3)
        list.append(m_values[5].mid(i, 3));
    return list;
}

void CFirmwareByteArray::setTag5List(const QList<QByteArray>& list)
{
    m_values[5].clear();
    for (const QByteArray& element : list) {
        if (element.size() == 3)
            m_values[5] += element;
    }
}

quint8 CFirmwareByteArray::tag7Value() const
{
    return m_values[7].isEmpty() ? quint8(0) : quint8(m_values[7].at(0));
}

void CFirmwareByteArray::setTag7Value(quint8 value)
{
    m_values[7] = value == 0 ? QByteArray() : QByteArray(1, char(value));
}

QByteArray CFirmwareByteArray::fieldValue(int tag) const
{
    return tag >= 0 && tag < valueCount ? m_values[tag] : QByteArray();
}

int CFirmwareByteArray::elementSize(int tag)
{
    static constexpr int sizes[valueCount] = {0, 3, 1, 1, 4, 3, 0, 1, 4};
    return tag >= 0 && tag < valueCount ? sizes[tag] : 0;
}

QList<QByteArray> CFirmwareByteArray::softwarePackageNames() const
{
    return packageHalves(true);
}

QList<QByteArray> CFirmwareByteArray::softwarePackageContents() const
{
    return packageHalves(false);
}

// The part of each package before its first zero byte, or behind it.
QList<QByteArray> CFirmwareByteArray::packageHalves(bool names) const
{
    QList<QByteArray> halves;
    qint64 begin = m_dataStart;
    for (const quint32 packageSize : toWords(m_values[8])) {
        const SoftwarePackage package = packageAt(begin, packageSize);
        begin += package.size;
        if (begin > size())
            break;
        if (package.nameLength >= 0)
            halves.append(
                names ? mid(int(package.offset), int(package.nameLength))
                      : mid(int(package.offset + package.nameLength + 1), int(package.size - package.nameLength - 1)));
    }
    return halves;
}

CFirmwareByteArray::SoftwarePackage CFirmwareByteArray::packageAt(qint64 offset, quint32 packageSize) const
{
    SoftwarePackage package{offset, packageSize, -1};
    if (packageSize > 0 && offset + package.size <= size()) {
        const char* const begin = constData() + offset;
        if (const void* zero = std::memchr(begin, 0, packageSize))
            package.nameLength = static_cast<const char*>(zero) - begin;
    }
    return package;
}

QList<CFirmwareByteArray::SoftwarePackage> CFirmwareByteArray::softwarePackages(int most) const
{
    QList<SoftwarePackage> packages;
    qint64 begin = m_dataStart;
    for (int i = 0; i < m_values[8].size() / 4 && i < most; ++i) {
        packages.append(packageAt(begin, qFromLittleEndian<quint32>(m_values[8].constData() + qint64(i) * 4)));
        begin += packages.constLast().size;
    }
    return packages;
}

// Where the last software package ends; 64 bits hold the sum of any list that fits into memory.
qint64 CFirmwareByteArray::packageEnd() const
{
    qint64 end = m_dataStart;
    for (int i = 0; i < m_values[8].size(); i += 4)
        end += qFromLittleEndian<quint32>(m_values[8].constData() + i);
    return end;
}

// The caller has checked that the bytes are there.
quint32 CFirmwareByteArray::wordAt(qint64 offset) const
{
    return qFromLittleEndian<quint32>(constData() + offset);
}

bool CFirmwareByteArray::fault(qint64 offset, const QString& text)
{
    m_faultOffset = offset;
    m_faultText = text;
    return false;
}

void CFirmwareByteArray::clearPart()
{
    m_values.fill(QByteArray());
    m_hardwareArchitecture = HardwareArchitecture(0);
    m_dataArchitecture = 0;
    m_partEnd = 0;
    m_dataStart = 0;
    m_headerEnd = 0;
    m_faultText.clear();
    m_faultOffset = 0;
}
