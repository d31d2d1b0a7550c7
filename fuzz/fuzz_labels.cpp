// Labels, as people type them and devices send them.
#include "fuzz_support.h"

#include <foundation/core/device_id.h>
#include <foundation/core/system_id.h>
#include <foundation/datatypes/data_type.h>

#include <QtCore/QRegularExpression>

namespace {

template<typename Id>
void checkId(const QString& text, quint64 number)
{
    bool ok = false;
    const Id read = Id::fromLabel(text, &ok);
    FUZZ_CHECK(ok == read.isValid());
    // The groups are numbers as Qt reads them, so "+00.123.457" is read, too; but never as another id than its digits.
    FUZZ_CHECK(!ok || (text.size() == read.toLabel().size() && Id::fromLabel(read.toLabel()) == read));
    FUZZ_CHECK(!ok || read.toLabel() == text || text.contains(QRegularExpression(QStringLiteral("[^0-9.]"))));
    const Id id(number);
    FUZZ_CHECK(id.value() == (number <= Id::maximum ? number : 0));
    FUZZ_CHECK(Id::fromLabel(id.toLabel(), &ok) == id && ok == id.isValid());
}

} // namespace

FUZZ_TARGET(labels)
{
    const quint64 number = input.number(8) >> (input.byte() & 63);
    const QString text = input.restAsText();
    checkId<CDeviceId>(text, number);
    checkId<CSystemId>(text, number);

    const QByteArray uid = CDataType::rfidUidToByteArray(number);
    FUZZ_CHECK(CDataType::rfidUidFromByteArray(uid) == number);
    FUZZ_CHECK(CDataType::rfidUidFromLabel(CDataType::rfidUidToLabel(uid)) == uid);
    const QByteArray read = CDataType::rfidUidFromLabel(text);
    FUZZ_CHECK(read.isEmpty() || CDataType::rfidUidToLabel(read) == text.trimmed().toUpper());
    FUZZ_CHECK(CDataType::rfidUidExternalRepresentationFromLabel(text).size() <= text.size());

    const unsigned long long code = CDataType::pinCodeFromString(text);
    FUZZ_CHECK(code == 0 || CDataType::pinCodeToString(code) == text.trimmed());
    FUZZ_CHECK(CDataType::pinCodeToString(number).size() <= 13); // 40 bits have up to 13 digits
}
