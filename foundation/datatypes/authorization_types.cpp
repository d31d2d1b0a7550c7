#include <foundation/datatypes/authorization_types.h>

// The virtual functions stand here and not in the header so that each class has its table in the library alone.
// clang-format off
CAuthorizationTypeData* CAuthorizationType01::clone() const { return new CAuthorizationType01(*this); }
CAuthorizationTypeData* CAuthorizationType02::clone() const { return new CAuthorizationType02(*this); }
CAuthorizationTypeData* CAuthorizationType03::clone() const { return new CAuthorizationType03(*this); }
CAuthorizationTypeData* CAuthorizationType04::clone() const { return new CAuthorizationType04(*this); }
CAuthorizationTypeData* CAuthorizationType05::clone() const { return new CAuthorizationType05(*this); }
CAuthorizationTypeData* CAuthorizationType06::clone() const { return new CAuthorizationType06(*this); }
CAuthorizationTypeData* CAuthorizationType07::clone() const { return new CAuthorizationType07(*this); }
CAuthorizationTypeData* CAuthorizationType08::clone() const { return new CAuthorizationType08(*this); }
CAuthorizationTypeData* CAuthorizationType09::clone() const { return new CAuthorizationType09(*this); }
CAuthorizationTypeData* CAuthorizationType10::clone() const { return new CAuthorizationType10(*this); }
CAuthorizationTypeData* CAuthorizationType11::clone() const { return new CAuthorizationType11(*this); }
CAuthorizationTypeData* CAuthorizationType12::clone() const { return new CAuthorizationType12(*this); }
CAuthorizationTypeData* CAuthorizationType13::clone() const { return new CAuthorizationType13(*this); }

bool CAuthorizationType01::operator==(const CAuthorizationTypeData& other) const { return equals(other); }
bool CAuthorizationType02::operator==(const CAuthorizationTypeData& other) const { return equals(other); }
bool CAuthorizationType03::operator==(const CAuthorizationTypeData& other) const { return equals(other); }
bool CAuthorizationType04::operator==(const CAuthorizationTypeData& other) const { return equals(other); }
bool CAuthorizationType05::operator==(const CAuthorizationTypeData& other) const { return equals(other); }
bool CAuthorizationType06::operator==(const CAuthorizationTypeData& other) const { return equals(other); }
bool CAuthorizationType07::operator==(const CAuthorizationTypeData& other) const { return equals(other); }
bool CAuthorizationType08::operator==(const CAuthorizationTypeData& other) const { return equals(other); }
bool CAuthorizationType09::operator==(const CAuthorizationTypeData& other) const { return equals(other); }
bool CAuthorizationType10::operator==(const CAuthorizationTypeData& other) const { return equals(other); }
bool CAuthorizationType11::operator==(const CAuthorizationTypeData& other) const { return equals(other); }
bool CAuthorizationType12::operator==(const CAuthorizationTypeData& other) const { return equals(other); }
bool CAuthorizationType13::operator==(const CAuthorizationTypeData& other) const { return equals(other); }
// clang-format on
