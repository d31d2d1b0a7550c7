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
KYR_ENUMERATION(CardArchitectureFamily, cardArchitecture)
KYR_ENUMERATION(CardDesignFamily, cardDesign)
KYR_ENUMERATION(CardMediumTypeFamily, cardMediumType)
KYR_ENUMERATION(KeysetFamily, keyset)
KYR_FLAG_ENUMERATION(MediaEventFlagFamily, mediaEventFlag, mediaEventFlags, "MediaEventFlags")
KYR_FLAG_ENUMERATION(PinCodeEventFlagFamily, pinCodeEventFlag, pinCodeEventFlags, "PinCodeEventFlags")
// clang-format on
