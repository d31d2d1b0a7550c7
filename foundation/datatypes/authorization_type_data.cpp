#include <foundation/datatypes/authorization_type_data.h>

#include <foundation/datatypes/authorization_types.h>
#include <foundation/datatypes/data_type.h>
#include <foundation/datatypes/enumeration_table_p.h>

#include <memory>
#include <tuple>

namespace {

using IdType = CAuthorizationTypeData::IdType;

constexpr Entry<IdType> idTypeTable[] = {
    {IdType::IdTypeUnknown, QT_TRANSLATE_NOOP("@default", "Unknown")},
    {IdType::IdTypeTechnicalMediaId, QT_TRANSLATE_NOOP("@default", "Technical Media ID")},
    {IdType::IdTypePublicMediaId, QT_TRANSLATE_NOOP("@default", "Public Media ID")},
    {IdType::IdTypeUid, QT_TRANSLATE_NOOP("@default", "UID")},
    {IdType::IdTypeCode, QT_TRANSLATE_NOOP("@default", "Code")},
    {IdType::IdTypeDeviceId, QT_TRANSLATE_NOOP("@default", "Device ID")},
    {IdType::IdTypeEventType, QT_TRANSLATE_NOOP("@default", "Event Type")},
};

template<typename Type>
CAuthorizationTypeData* create()
{
    return new Type;
}

constexpr CAuthorizationTypeData* (*creators[])() = {
    create<CAuthorizationType01>, create<CAuthorizationType02>, create<CAuthorizationType03>,
    create<CAuthorizationType04>, create<CAuthorizationType05>, create<CAuthorizationType06>,
    create<CAuthorizationType07>, create<CAuthorizationType08>, create<CAuthorizationType09>,
    create<CAuthorizationType10>, create<CAuthorizationType11>, create<CAuthorizationType12>,
    create<CAuthorizationType13>,
};
constexpr int typeCount = static_cast<int>(std::size(creators));

template<typename Mixin, typename... Fields>
struct MixinFields
{
    constexpr MixinFields(Fields Mixin::*... members)
        : fields(members...)
    {
    }

    // Null when the object's class lacks the restriction.
    static const Mixin* of(const CAuthorizationTypeData& data) { return dynamic_cast<const Mixin*>(&data); }
    static Mixin* of(CAuthorizationTypeData& data) { return dynamic_cast<Mixin*>(&data); }

    std::tuple<Fields Mixin::*...> fields;
};

// The restrictions and their fields as they follow one another in the list of texts, whatever the order of the bases.
constexpr std::tuple mixins(MixinFields(&CAuthorizationWithEvent::eventValue1, &CAuthorizationWithEvent::eventValue2),
                            MixinFields(&CAuthorizationWithSecondaryId::secondaryId,
                                        &CAuthorizationWithSecondaryId::secondaryIdType),
                            MixinFields(&CAuthorizationWithTimeProfile::timeProfile),
                            MixinFields(&CAuthorizationWithAuthorizationPoint::authorizationPoint),
                            MixinFields(&CAuthorizationWithTimedAuthPoints::timedAuthPoints),
                            MixinFields(&CAuthorizationWithButtonAuthPoints::buttonAuthPoints),
                            MixinFields(&CAuthorizationTimeLimited::from, &CAuthorizationTimeLimited::to));

// Calls visit(restriction, pointer to member...) for each restriction that the object has.
template<typename Data, typename Visit>
void forEachMixin(Data& data, Visit visit)
{
    const auto visitRow = [&](const auto& row) {
        if (auto* mixin = row.of(data))
            std::apply([&](auto... fields) { visit(*mixin, fields...); }, row.fields);
    };
    std::apply([&](const auto&... rows) { (visitRow(rows), ...); }, mixins);
}

class Writer
{
public:
    explicit Writer(QStringList& list)
        : m_list(list)
    {
    }

    void write(unsigned long long number) { m_list.append(QString::number(number)); }
    void write(IdType) {} // the same for all, not written
    void write(const QDateTime& time) { m_list.append(time.toString(Qt::ISODate)); }
    template<std::size_t Size>
    void write(const std::array<quint8, Size>& numbers)
    {
        for (const quint8 number : numbers)
            write(number);
    }

private:
    QStringList& m_list;
};

class Reader
{
public:
    explicit Reader(const QStringList& list)
        : m_list(list)
    {
    }

    int remaining() const { return static_cast<int>(m_list.size()) - m_next; }
    QString next() { return remaining() > 0 ? m_list.at(m_next++) : QString(); }

    void read(quint8& number) { number = static_cast<quint8>(next().toInt()); }
    void read(quint32& number) { number = next().toUInt(); }
    void read(unsigned long long& number) { number = next().toULongLong(); }
    void read(IdType&) {}
    void read(QDateTime& time) { time = QDateTime::fromString(next(), Qt::ISODate); }
    template<std::size_t Size>
    void read(std::array<quint8, Size>& numbers)
    {
        for (quint8& number : numbers)
            read(number);
    }

private:
    const QStringList& m_list;
    int m_next = 0;
};

unsigned long long idFromText(IdType idType, const QString& text)
{
    switch (idType) {
    case IdType::IdTypeCode:
        return CDataType::pinCodeFromString(text);
    case IdType::IdTypeUid:
        return CDataType::rfidUidFromByteArray(CDataType::rfidUidFromLabel(text));
    default:
        return text.toULongLong();
    }
}

QString idToText(IdType idType, unsigned long long id)
{
    switch (idType) {
    case IdType::IdTypeCode:
        return CDataType::pinCodeToString(id);
    case IdType::IdTypeUid:
        return CDataType::rfidUidToLabel(CDataType::rfidUidToByteArray(id));
    default:
        return QString::number(id);
    }
}

} // namespace

CAuthorizationTypeData::CAuthorizationTypeData(AuthType type, IdType idType, unsigned long long id)
    : m_id(id)
    , m_idType(idType)
    , m_type(type)
{
}

CAuthorizationTypeData::~CAuthorizationTypeData() = default;

bool CAuthorizationTypeData::equals(const CAuthorizationTypeData& other) const
{
    bool equal = m_type == other.m_type && m_id == other.m_id && m_idType == other.m_idType;
    forEachMixin(*this, [&](const auto& mine, auto... fields) {
        const auto* theirs = dynamic_cast<decltype(&mine)>(&other);
        equal = equal && theirs != nullptr && ((mine.*fields == theirs->*fields) && ...);
    });
    return equal;
}

QStringList CAuthorizationTypeData::toStringList() const
{
    QStringList list{QString::number(m_type), idToText(m_idType, m_id)};
    Writer writer(list);
    forEachMixin(*this, [&](const auto& mixin, auto... fields) { (writer.write(mixin.*fields), ...); });
    return list;
}

CAuthorizationTypeData* CAuthorizationTypeData::fromStringList(const QStringList& list)
{
    if (list.size() < 2)
        return nullptr;
    Reader reader(list);
    std::unique_ptr<CAuthorizationTypeData> data(createAuthorizationType(reader.next().toInt()));
    if (!data)
        return nullptr;
    data->m_id = idFromText(data->m_idType, reader.next());
    forEachMixin(*data, [&](auto& mixin, auto... fields) {
        // Half a period is none.
        if (std::is_same_v<decltype(mixin), CAuthorizationTimeLimited&> && reader.remaining() < 2)
            return;
        (reader.read(mixin.*fields), ...);
    });
    return data.release();
}

CAuthorizationTypeData* CAuthorizationTypeData::createAuthorizationType(AuthType type)
{
    return createAuthorizationType(static_cast<int>(type));
}

CAuthorizationTypeData* CAuthorizationTypeData::createAuthorizationType(int type)
{
    return type >= 1 && type <= typeCount ? creators[type - 1]() : nullptr;
}

QList<CAuthorizationTypeData::AuthType> CAuthorizationTypeData::supportedTypes()
{
    QList<AuthType> types;
    for (int type = 1; type <= typeCount; ++type)
        types.append(static_cast<AuthType>(type));
    return types;
}

const char* CAuthorizationTypeData::idTypeToString(IdType idType)
{
    return Enumeration<idTypeTable>::text(idType);
}
