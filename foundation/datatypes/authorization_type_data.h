#pragma once

#include <foundation/core/export.h>

#include <QtCore/QDateTime>
#include <QtCore/QList>
#include <QtCore/QStringList>

#include <array>
#include <type_traits>

/// What tells a device whom or what to let through, and when: an id and, by the class, restrictions to it. The thirteen
/// concrete classes are in authorization_types.h.
///
/// A list of texts keeps and carries an authorization:
///
///     const CAuthorizationType04 authorization(1234, 2, 7);
///     const QStringList list = authorization.toStringList();   // "4", "1234", "2", "7"
///     std::unique_ptr<CAuthorizationTypeData> same(CAuthorizationTypeData::fromStringList(list));
///     same && *same == authorization;                          // true
class KYR_FOUNDATION_EXPORT CAuthorizationTypeData
{
public:
    /// What the id is the id of.
    enum IdType : int
    {
        IdTypeUnknown = 0,
        IdTypeTechnicalMediaId = 1,
        IdTypePublicMediaId = 2,
        IdTypeUid = 3,
        IdTypeCode = 4, ///< as packed by CDataType::pinCodeFromString()
        IdTypeDeviceId = 5,
        IdTypeEventType = 6
    };

    enum AuthType : int
    {
        AuthType01 = 1,
        AuthType02 = 2,
        AuthType03 = 3,
        AuthType04 = 4,
        AuthType05 = 5,
        AuthType06 = 6,
        AuthType07 = 7,
        AuthType08 = 8,
        AuthType09 = 9,
        AuthType10 = 10,
        AuthType11 = 11,
        AuthType12 = 12,
        AuthType13 = 13
    };

    virtual ~CAuthorizationTypeData();
    /// A copy; the caller owns it.
    virtual CAuthorizationTypeData* clone() const = 0;
    /// Whether the other one is of the same type and has the same fields; dates are compared as moments.
    virtual bool operator==(const CAuthorizationTypeData& other) const = 0;
    bool operator!=(const CAuthorizationTypeData& other) const { return !(*this == other); }

    unsigned long long getId() const { return m_id; }
    void setId(unsigned long long id) { m_id = id; }
    IdType getIdType() const { return m_idType; }
    void setIdType(IdType idType) { m_idType = idType; }
    AuthType getType() const { return m_type; }

    /// The fields as texts, the type first; what fromStringList() reads.
    QStringList toStringList() const;
    /// Reads such a list; the caller owns the object. Null for fewer than two elements or an unknown type. What is not
    /// a number counts as 0, missing elements as well; small fields keep the low bits of a number, surplus is ignored,
    /// and so is a start without an end.
    static CAuthorizationTypeData* fromStringList(const QStringList& list);

    /// A new object of a type with all fields 0; the caller owns it. Null for a number that is no type.
    static CAuthorizationTypeData* createAuthorizationType(AuthType type);
    static CAuthorizationTypeData* createAuthorizationType(int type);
    /// 1 to 13.
    static QList<AuthType> supportedTypes();
    /// The English text, "Unknown" for an undefined value.
    static const char* idTypeToString(IdType idType);

protected:
    CAuthorizationTypeData(AuthType type, IdType idType, unsigned long long id = 0);
    CAuthorizationTypeData(const CAuthorizationTypeData&) = default;
    CAuthorizationTypeData& operator=(const CAuthorizationTypeData&) = default;

    /// What the concrete classes compare with.
    bool equals(const CAuthorizationTypeData& other) const;

private:
    unsigned long long m_id;
    IdType m_idType;
    AuthType m_type;
};

/// For operands of two classes. C++20 tries each operator with its operands swapped, too, and would find the member of
/// either class as good as that of the other.
template<typename A, typename B,
         std::enable_if_t<std::is_base_of<CAuthorizationTypeData, A>::value
                              && std::is_base_of<CAuthorizationTypeData, B>::value,
                          int> = 0>
bool operator==(const A& a, const B& b)
{
    const CAuthorizationTypeData& other = b;
    return a.operator==(other);
}

// The restrictions; each concrete class derives from those it has.

class KYR_FOUNDATION_EXPORT CAuthorizationWithSecondaryId
{
public:
    unsigned long long secondaryId = 0;
    CAuthorizationTypeData::IdType secondaryIdType = CAuthorizationTypeData::IdTypePublicMediaId;
};

class KYR_FOUNDATION_EXPORT CAuthorizationWithTimeProfile
{
public:
    quint8 timeProfile = 0;
};

class KYR_FOUNDATION_EXPORT CAuthorizationWithAuthorizationPoint
{
public:
    quint8 authorizationPoint = 0;
};

class KYR_FOUNDATION_EXPORT CAuthorizationWithTimedAuthPoints
{
public:
    std::array<quint8, 3> timedAuthPoints{};
};

class KYR_FOUNDATION_EXPORT CAuthorizationWithButtonAuthPoints
{
public:
    /// One for each button.
    std::array<quint8, 4> buttonAuthPoints{};
};

class KYR_FOUNDATION_EXPORT CAuthorizationWithEvent
{
public:
    quint32 eventValue1 = 0;
    quint32 eventValue2 = 0;
};

class KYR_FOUNDATION_EXPORT CAuthorizationTimeLimited
{
public:
    /// A null end is open.
    QDateTime from;
    QDateTime to;
};
