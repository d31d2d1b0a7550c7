#pragma once

#include <foundation/datatypes/authorization_type_data.h>

/// \file
/// The numbered authorization types: fixed combinations of an id with restrictions. A new object has all fields 0 and
/// no dates. Time profiles and authorization points are numbers of 8 bits.

/// A medium, with the number printed on it beside its technical id.
class KYR_FOUNDATION_EXPORT CAuthorizationType01 : public CAuthorizationTypeData, public CAuthorizationWithSecondaryId
{
public:
    CAuthorizationType01()
        : CAuthorizationType01(0, 0)
    {
    }
    CAuthorizationType01(quint32 id, unsigned long long secondary)
        : CAuthorizationTypeData(AuthType01, IdTypeTechnicalMediaId, id)
        , CAuthorizationWithSecondaryId{secondary}
    {
    }
    CAuthorizationTypeData* clone() const override;
    bool operator==(const CAuthorizationTypeData& other) const override;
};

/// A medium by its UID.
class KYR_FOUNDATION_EXPORT CAuthorizationType02 : public CAuthorizationTypeData
{
public:
    CAuthorizationType02()
        : CAuthorizationType02(0)
    {
    }
    explicit CAuthorizationType02(unsigned long long id)
        : CAuthorizationTypeData(AuthType02, IdTypeUid, id)
    {
    }
    CAuthorizationTypeData* clone() const override;
    bool operator==(const CAuthorizationTypeData& other) const override;
};

/// A medium.
class KYR_FOUNDATION_EXPORT CAuthorizationType03 : public CAuthorizationTypeData
{
public:
    CAuthorizationType03()
        : CAuthorizationType03(0)
    {
    }
    explicit CAuthorizationType03(quint32 id)
        : CAuthorizationTypeData(AuthType03, IdTypeTechnicalMediaId, id)
    {
    }
    CAuthorizationTypeData* clone() const override;
    bool operator==(const CAuthorizationTypeData& other) const override;
};

/// A medium within a time profile at an authorization point.
class KYR_FOUNDATION_EXPORT CAuthorizationType04 : public CAuthorizationTypeData,
                                                   public CAuthorizationWithTimeProfile,
                                                   public CAuthorizationWithAuthorizationPoint
{
public:
    CAuthorizationType04()
        : CAuthorizationType04(0, 0, 0)
    {
    }
    CAuthorizationType04(quint32 id, quint8 profile, quint8 point)
        : CAuthorizationTypeData(AuthType04, IdTypeTechnicalMediaId, id)
        , CAuthorizationWithTimeProfile{profile}
        , CAuthorizationWithAuthorizationPoint{point}
    {
    }
    CAuthorizationTypeData* clone() const override;
    bool operator==(const CAuthorizationTypeData& other) const override;
};

/// The same as 4 for a period.
class KYR_FOUNDATION_EXPORT CAuthorizationType05 : public CAuthorizationTypeData,
                                                   public CAuthorizationWithTimeProfile,
                                                   public CAuthorizationWithAuthorizationPoint,
                                                   public CAuthorizationTimeLimited
{
public:
    CAuthorizationType05()
        : CAuthorizationType05(0, 0, 0, QDateTime(), QDateTime())
    {
    }
    CAuthorizationType05(quint32 id, quint8 profile, quint8 point, const QDateTime& begin, const QDateTime& end)
        : CAuthorizationTypeData(AuthType05, IdTypeTechnicalMediaId, id)
        , CAuthorizationWithTimeProfile{profile}
        , CAuthorizationWithAuthorizationPoint{point}
        , CAuthorizationTimeLimited{begin, end}
    {
    }
    CAuthorizationTypeData* clone() const override;
    bool operator==(const CAuthorizationTypeData& other) const override;
};

/// The same as 5 for a code.
class KYR_FOUNDATION_EXPORT CAuthorizationType06 : public CAuthorizationTypeData,
                                                   public CAuthorizationWithTimeProfile,
                                                   public CAuthorizationWithAuthorizationPoint,
                                                   public CAuthorizationTimeLimited
{
public:
    CAuthorizationType06()
        : CAuthorizationType06(0, 0, 0, QDateTime(), QDateTime())
    {
    }
    CAuthorizationType06(unsigned long long id, quint8 profile, quint8 point, const QDateTime& begin,
                         const QDateTime& end)
        : CAuthorizationTypeData(AuthType06, IdTypeCode, id)
        , CAuthorizationWithTimeProfile{profile}
        , CAuthorizationWithAuthorizationPoint{point}
        , CAuthorizationTimeLimited{begin, end}
    {
    }
    CAuthorizationTypeData* clone() const override;
    bool operator==(const CAuthorizationTypeData& other) const override;
};

/// A medium by the number printed on it.
class KYR_FOUNDATION_EXPORT CAuthorizationType07 : public CAuthorizationTypeData
{
public:
    CAuthorizationType07()
        : CAuthorizationType07(0)
    {
    }
    explicit CAuthorizationType07(quint32 id)
        : CAuthorizationTypeData(AuthType07, IdTypePublicMediaId, id)
    {
    }
    CAuthorizationTypeData* clone() const override;
    bool operator==(const CAuthorizationTypeData& other) const override;
};

/// A device.
class KYR_FOUNDATION_EXPORT CAuthorizationType08 : public CAuthorizationTypeData
{
public:
    CAuthorizationType08()
        : CAuthorizationType08(0)
    {
    }
    explicit CAuthorizationType08(quint32 id)
        : CAuthorizationTypeData(AuthType08, IdTypeDeviceId, id)
    {
    }
    CAuthorizationTypeData* clone() const override;
    bool operator==(const CAuthorizationTypeData& other) const override;
};

/// The same as 5 for a UID.
class KYR_FOUNDATION_EXPORT CAuthorizationType09 : public CAuthorizationTypeData,
                                                   public CAuthorizationWithTimeProfile,
                                                   public CAuthorizationWithAuthorizationPoint,
                                                   public CAuthorizationTimeLimited
{
public:
    CAuthorizationType09()
        : CAuthorizationType09(0, 0, 0, QDateTime(), QDateTime())
    {
    }
    CAuthorizationType09(unsigned long long id, quint8 profile, quint8 point, const QDateTime& begin,
                         const QDateTime& end)
        : CAuthorizationTypeData(AuthType09, IdTypeUid, id)
        , CAuthorizationWithTimeProfile{profile}
        , CAuthorizationWithAuthorizationPoint{point}
        , CAuthorizationTimeLimited{begin, end}
    {
    }
    CAuthorizationTypeData* clone() const override;
    bool operator==(const CAuthorizationTypeData& other) const override;
};

/// An event with two values, whose meaning depends on the event type; otherwise as 5.
class KYR_FOUNDATION_EXPORT CAuthorizationType10 : public CAuthorizationTypeData,
                                                   public CAuthorizationWithTimeProfile,
                                                   public CAuthorizationWithAuthorizationPoint,
                                                   public CAuthorizationWithEvent,
                                                   public CAuthorizationTimeLimited
{
public:
    CAuthorizationType10()
        : CAuthorizationType10(0, 0, 0, 0, 0, QDateTime(), QDateTime())
    {
    }
    CAuthorizationType10(quint8 eventType, quint32 value1, quint32 value2, quint8 profile, quint8 point,
                         const QDateTime& begin, const QDateTime& end)
        : CAuthorizationTypeData(AuthType10, IdTypeEventType, eventType)
        , CAuthorizationWithTimeProfile{profile}
        , CAuthorizationWithAuthorizationPoint{point}
        , CAuthorizationWithEvent{value1, value2}
        , CAuthorizationTimeLimited{begin, end}
    {
    }
    CAuthorizationTypeData* clone() const override;
    bool operator==(const CAuthorizationTypeData& other) const override;
};

/// A medium at three timed authorization points for a period.
class KYR_FOUNDATION_EXPORT CAuthorizationType11 : public CAuthorizationTypeData,
                                                   public CAuthorizationWithTimeProfile,
                                                   public CAuthorizationWithTimedAuthPoints,
                                                   public CAuthorizationTimeLimited
{
public:
    CAuthorizationType11()
        : CAuthorizationType11(0, 0, 0, 0, 0, QDateTime(), QDateTime())
    {
    }
    CAuthorizationType11(quint32 id, quint8 profile, quint8 point1, quint8 point2, quint8 point3,
                         const QDateTime& begin, const QDateTime& end)
        : CAuthorizationTypeData(AuthType11, IdTypeTechnicalMediaId, id)
        , CAuthorizationWithTimeProfile{profile}
        , CAuthorizationWithTimedAuthPoints{{point1, point2, point3}}
        , CAuthorizationTimeLimited{begin, end}
    {
    }
    CAuthorizationTypeData* clone() const override;
    bool operator==(const CAuthorizationTypeData& other) const override;
};

/// The same as 11 for a UID.
class KYR_FOUNDATION_EXPORT CAuthorizationType12 : public CAuthorizationTypeData,
                                                   public CAuthorizationWithTimeProfile,
                                                   public CAuthorizationWithTimedAuthPoints,
                                                   public CAuthorizationTimeLimited
{
public:
    CAuthorizationType12()
        : CAuthorizationType12(0, 0, 0, 0, 0, QDateTime(), QDateTime())
    {
    }
    CAuthorizationType12(unsigned long long id, quint8 profile, quint8 point1, quint8 point2, quint8 point3,
                         const QDateTime& begin, const QDateTime& end)
        : CAuthorizationTypeData(AuthType12, IdTypeUid, id)
        , CAuthorizationWithTimeProfile{profile}
        , CAuthorizationWithTimedAuthPoints{{point1, point2, point3}}
        , CAuthorizationTimeLimited{begin, end}
    {
    }
    CAuthorizationTypeData* clone() const override;
    bool operator==(const CAuthorizationTypeData& other) const override;
};

/// A code at an authorization point, with one point more for each of four buttons, for a period.
class KYR_FOUNDATION_EXPORT CAuthorizationType13 : public CAuthorizationTypeData,
                                                   public CAuthorizationWithTimeProfile,
                                                   public CAuthorizationWithAuthorizationPoint,
                                                   public CAuthorizationWithButtonAuthPoints,
                                                   public CAuthorizationTimeLimited
{
public:
    CAuthorizationType13()
        : CAuthorizationType13(0, 0, 0, 0, 0, 0, 0, QDateTime(), QDateTime())
    {
    }
    CAuthorizationType13(unsigned long long id, quint8 profile, quint8 point, quint8 button1, quint8 button2,
                         quint8 button3, quint8 button4, const QDateTime& begin, const QDateTime& end)
        : CAuthorizationTypeData(AuthType13, IdTypeCode, id)
        , CAuthorizationWithTimeProfile{profile}
        , CAuthorizationWithAuthorizationPoint{point}
        , CAuthorizationWithButtonAuthPoints{{button1, button2, button3, button4}}
        , CAuthorizationTimeLimited{begin, end}
    {
    }
    CAuthorizationTypeData* clone() const override;
    bool operator==(const CAuthorizationTypeData& other) const override;
};
