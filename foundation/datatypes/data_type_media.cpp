#include <foundation/datatypes/data_type.h>
#include <foundation/datatypes/enumeration_table_p.h>

namespace {

constexpr Entry<CDataType::CardArchitecture> cardArchitectureTable[] = {
    {CDataType::CardArchitectureDesfire, QT_TRANSLATE_NOOP("@default", "DESFire")},
    {CDataType::CardArchitectureMifarePlus, QT_TRANSLATE_NOOP("@default", "MIFARE Plus")},
    {CDataType::CardArchitectureMifarePlusX, QT_TRANSLATE_NOOP("@default", "MIFARE Plus X")},
    {CDataType::CardArchitectureMifareClassic, QT_TRANSLATE_NOOP("@default", "MIFARE Classic")},
    {CDataType::CardArchitectureIsoUid4, QT_TRANSLATE_NOOP("@default", "ISO UID 4 Byte")},
    {CDataType::CardArchitectureIsoUid7, QT_TRANSLATE_NOOP("@default", "ISO UID 7 Byte")},
    {CDataType::CardArchitectureUnknown, QT_TRANSLATE_NOOP("@default", "Unknown")},
};
using CardArchitectureFamily = Enumeration<cardArchitectureTable, CDataType::CardArchitectureUnknown>;

constexpr Entry<CDataType::CardDesign> cardDesignTable[] = {
    {CDataType::CardDesignPlain, QT_TRANSLATE_NOOP("@default", "Plain")},
    {CDataType::CardDesignA, QT_TRANSLATE_NOOP("@default", "Design A")},
    {CDataType::CardDesignB, QT_TRANSLATE_NOOP("@default", "Design B")},
    {CDataType::CardDesignC, QT_TRANSLATE_NOOP("@default", "Design C")},
    {CDataType::CardDesignD, QT_TRANSLATE_NOOP("@default", "Design D")},
};
using CardDesignFamily = Enumeration<cardDesignTable>;

constexpr Entry<CDataType::CardMediumType> cardMediumTypeTable[] = {
    {CDataType::CardMediumTypeCard, QT_TRANSLATE_NOOP("@default", "Card")},
    {CDataType::CardMediumTypeKeyFob, QT_TRANSLATE_NOOP("@default", "Key Fob")},
    {CDataType::CardMediumTypeWristband, QT_TRANSLATE_NOOP("@default", "Wristband")},
    {CDataType::CardMediumTypeSticker, QT_TRANSLATE_NOOP("@default", "Sticker")},
    {CDataType::CardMediumTypeSmartphone, QT_TRANSLATE_NOOP("@default", "Smartphone")},
    {CDataType::CardMediumTypeUnknown, QT_TRANSLATE_NOOP("@default", "Unknown")},
};
using CardMediumTypeFamily = Enumeration<cardMediumTypeTable, CDataType::CardMediumTypeUnknown>;

constexpr Entry<CDataType::Keyset> keysetTable[] = {
    {CDataType::KeysetDevel, QT_TRANSLATE_NOOP("@default", "Devel")},
    {CDataType::KeysetBrell2012, QT_TRANSLATE_NOOP("@default", "Brell 2012")},
};
using KeysetFamily = Enumeration<keysetTable>;

constexpr Entry<CDataType::MediaEventFlag> mediaEventFlagTable[] = {
    {CDataType::MediaEventFlagKnown, QT_TRANSLATE_NOOP("@default", "Known Medium")},
    {CDataType::MediaEventFlagUnknown, QT_TRANSLATE_NOOP("@default", "Unknown Medium")},
    {CDataType::MediaEventFlagBlocked, QT_TRANSLATE_NOOP("@default", "Blocked Medium")},
    {CDataType::MediaEventFlagPresented, QT_TRANSLATE_NOOP("@default", "Medium Presented")},
    {CDataType::MediaEventFlagRemoved, QT_TRANSLATE_NOOP("@default", "Medium Removed")},
};
using MediaEventFlagFamily = FlagEnumeration<mediaEventFlagTable, 0xC0000007>;

constexpr Entry<CDataType::PinCodeEventFlag> pinCodeEventFlagTable[] = {
    {CDataType::PinCodeEventFlagDigits1, QT_TRANSLATE_NOOP("@default", "1 Digit")},
    {CDataType::PinCodeEventFlagDigits2, QT_TRANSLATE_NOOP("@default", "2 Digits")},
    {CDataType::PinCodeEventFlagDigits3, QT_TRANSLATE_NOOP("@default", "3 Digits")},
    {CDataType::PinCodeEventFlagDigits4, QT_TRANSLATE_NOOP("@default", "4 Digits")},
    {CDataType::PinCodeEventFlagDigits5, QT_TRANSLATE_NOOP("@default", "5 Digits")},
    {CDataType::PinCodeEventFlagDigits6, QT_TRANSLATE_NOOP("@default", "6 Digits")},
    {CDataType::PinCodeEventFlagDigits7, QT_TRANSLATE_NOOP("@default", "7 Digits")},
    {CDataType::PinCodeEventFlagDigits8, QT_TRANSLATE_NOOP("@default", "8 Digits")},
    {CDataType::PinCodeEventFlagDigits9, QT_TRANSLATE_NOOP("@default", "9 Digits")},
    {CDataType::PinCodeEventFlagDigits10, QT_TRANSLATE_NOOP("@default", "10 Digits")},
    {CDataType::PinCodeEventFlagDigits11, QT_TRANSLATE_NOOP("@default", "11 Digits")},
    {CDataType::PinCodeEventFlagDigits12, QT_TRANSLATE_NOOP("@default", "12 Digits")},
    {CDataType::PinCodeEventFlagKnown, QT_TRANSLATE_NOOP("@default", "Known Code")},
    {CDataType::PinCodeEventFlagUnknown, QT_TRANSLATE_NOOP("@default", "Unknown Code")},
};
using PinCodeEventFlagFamily = FlagEnumeration<pinCodeEventFlagTable, 0xC0000FFF>;

} // namespace

// One line a function.
// clang-format off
const char* CDataType::cardArchitectureToString(CardArchitecture value) { return CardArchitectureFamily::text(value); }
CDataType::CardArchitecture CDataType::cardArchitectureCast(int value) { return CardArchitectureFamily::cast(value); }
QList<CDataType::CardArchitecture> CDataType::cardArchitectureValues() { return CardArchitectureFamily::values(); }
CDataType::CardArchitecture CDataType::cardArchitectureFromString(const QByteArray& text) { return CardArchitectureFamily::fromText(text); }

const char* CDataType::cardDesignToString(CardDesign value) { return CardDesignFamily::text(value); }
CDataType::CardDesign CDataType::cardDesignCast(int value) { return CardDesignFamily::cast(value); }
QList<CDataType::CardDesign> CDataType::cardDesignValues() { return CardDesignFamily::values(); }
CDataType::CardDesign CDataType::cardDesignFromString(const QByteArray& text) { return CardDesignFamily::fromText(text); }

const char* CDataType::cardMediumTypeToString(CardMediumType value) { return CardMediumTypeFamily::text(value); }
CDataType::CardMediumType CDataType::cardMediumTypeCast(int value) { return CardMediumTypeFamily::cast(value); }
QList<CDataType::CardMediumType> CDataType::cardMediumTypeValues() { return CardMediumTypeFamily::values(); }
CDataType::CardMediumType CDataType::cardMediumTypeFromString(const QByteArray& text) { return CardMediumTypeFamily::fromText(text); }

const char* CDataType::keysetToString(Keyset value) { return KeysetFamily::text(value); }
CDataType::Keyset CDataType::keysetCast(int value) { return KeysetFamily::cast(value); }
QList<CDataType::Keyset> CDataType::keysetValues() { return KeysetFamily::values(); }
CDataType::Keyset CDataType::keysetFromString(const QByteArray& text) { return KeysetFamily::fromText(text); }

const char* CDataType::mediaEventFlagToString(MediaEventFlag value) { return MediaEventFlagFamily::text(value); }
CDataType::MediaEventFlag CDataType::mediaEventFlagCast(int value) { return MediaEventFlagFamily::cast(value); }
QList<CDataType::MediaEventFlag> CDataType::mediaEventFlagValues(MediaEventFlags flags) { return MediaEventFlagFamily::values(flags); }
CDataType::MediaEventFlag CDataType::mediaEventFlagFromString(const QByteArray& text) { return MediaEventFlagFamily::fromText(text); }
CDataType::MediaEventFlags CDataType::mediaEventFlagsCast(unsigned int value) { return MediaEventFlagFamily::castSet(value, "MediaEventFlags"); }
QStringList CDataType::mediaEventFlagsToStrings(MediaEventFlags flags) { return MediaEventFlagFamily::texts(flags); }

const char* CDataType::pinCodeEventFlagToString(PinCodeEventFlag value) { return PinCodeEventFlagFamily::text(value); }
CDataType::PinCodeEventFlag CDataType::pinCodeEventFlagCast(int value) { return PinCodeEventFlagFamily::cast(value); }
QList<CDataType::PinCodeEventFlag> CDataType::pinCodeEventFlagValues(PinCodeEventFlags flags) { return PinCodeEventFlagFamily::values(flags); }
CDataType::PinCodeEventFlag CDataType::pinCodeEventFlagFromString(const QByteArray& text) { return PinCodeEventFlagFamily::fromText(text); }
CDataType::PinCodeEventFlags CDataType::pinCodeEventFlagsCast(unsigned int value) { return PinCodeEventFlagFamily::castSet(value, "PinCodeEventFlags"); }
QStringList CDataType::pinCodeEventFlagsToStrings(PinCodeEventFlags flags) { return PinCodeEventFlagFamily::texts(flags); }
// clang-format on
