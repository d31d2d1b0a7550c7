// Firmware files, which come by mail and download.
#include "fuzz_support.h"

#include <foundation/formats/firmware_byte_array.h>

#include <QtCore/QtEndian>

#include <zlib.h>

namespace {

// A part whose header is whole, so that the reader gets as far as the fields and the data.
QByteArray withHeader(const QByteArray& fields, const QByteArray& data)
{
    QByteArray part("BFF\0", 4);
    char word[4];
    qToLittleEndian<quint32>(static_cast<quint32>(fields.size()), word);
    part.append(word, 4);
    const auto checksum =
        crc32(0, reinterpret_cast<const Bytef*>(fields.constData()), static_cast<uInt>(fields.size()));
    qToLittleEndian<quint32>(~static_cast<quint32>(checksum), word);
    part.append(word, 4);
    return part + fields + data;
}

void checkPart(CFirmwareByteArray& firmware)
{
    const bool header = firmware.checkHeader();
    FUZZ_CHECK(header == firmware.faultText().isEmpty());
    const bool data = firmware.checkData();
    FUZZ_CHECK(data == firmware.faultText().isEmpty());
    FUZZ_CHECK(firmware.faultOffset() >= 0 && firmware.faultOffset() <= firmware.size());
    FUZZ_CHECK(firmware.dataStart() >= 0 && firmware.dataStart() <= firmware.size());
    FUZZ_CHECK(firmware.partEnd() >= firmware.dataStart() && firmware.partEnd() <= firmware.size());
    FUZZ_CHECK(
        firmware.checkedData()
        == (data ? firmware.mid(firmware.dataStart(), firmware.partEnd() - firmware.dataStart()) : QByteArray()));
    FUZZ_CHECK(firmware.partData() == firmware.left(firmware.partEnd()));
    FUZZ_CHECK(firmware.dataArchitecture() >= 0 && firmware.dataArchitecture() <= HardwareArchitectureHw3);
    const int held = firmware.tag2List().size() + firmware.tag3List().size() + 4 * firmware.tag4List().size()
                     + 3 * firmware.tag5List().size();
    FUZZ_CHECK(held <= firmware.size());
    const auto names = firmware.softwarePackageNames();
    const auto contents = firmware.softwarePackageContents();
    FUZZ_CHECK(names.size() == contents.size());
    qint64 packages = 0;
    for (int i = 0; i < names.size(); ++i)
        packages += names.at(i).size() + 1 + contents.at(i).size();
    FUZZ_CHECK(packages <= firmware.size());
}

// What was read goes into a new file, and is read from it again.
void writeAndRead(const CFirmwareByteArray& read, const QByteArray& content)
{
    CFirmwareByteArray written(content);
    written.setTag1Value(read.tag1Value());
    written.setTag2List(read.tag2List());
    written.setTag3List(read.tag3List());
    written.setTag4List(read.tag4List());
    written.setTag5List(read.tag5List());
    written.setTag7Value(read.tag7Value());
    written.setHardwareArchitecture(read.hardwareArchitecture());
    FUZZ_CHECK(written.prependHeader());
    CFirmwareByteArray again{QByteArray(written)};
    FUZZ_CHECK(again.checkHeader());
    FUZZ_CHECK(again.tag1Value() == read.tag1Value() && again.tag2List() == read.tag2List()
               && again.tag3List() == read.tag3List() && again.tag4List() == read.tag4List()
               && again.tag5List() == read.tag5List() && again.tag7Value() == read.tag7Value());
    FUZZ_CHECK(again.mid(again.dataStart()) == content);
}

} // namespace

FUZZ_TARGET(firmware_image)
{
    QByteArray file;
    if (input.flag()) {
        const auto fields = static_cast<int>(input.number(1));
        const QByteArray rest = input.rest();
        file = withHeader(rest.left(fields), rest.mid(fields));
    } else {
        file = input.rest();
    }

    const auto size = file.size();
    CFirmwareByteArray firmware(file);
    for (int parts = 0;; ++parts) {
        FUZZ_CHECK(parts <= size / 8);
        checkPart(firmware);
        if (parts == 0 && firmware.checkHeader())
            writeAndRead(firmware, file.right(64));
        const auto left = firmware.size();
        if (parts >= 64 || !firmware.toNextPart())
            break;
        FUZZ_CHECK(firmware.size() < left && file.endsWith(firmware));
    }

    CFirmwareByteArray search(file);
    const auto wanted = HardwareArchitecture(size % 5);
    if (search.toFirmwareForArchitecture(wanted))
        FUZZ_CHECK(file.endsWith(search));
}
