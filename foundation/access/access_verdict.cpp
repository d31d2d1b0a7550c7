#include <foundation/access/access_verdict.h>

#include <foundation/datatypes/enumeration_table_p.h>

namespace {

constexpr Entry<CAccessReason> accessReasonTable[] = {
    {CAccessReason::None, ""},
    {CAccessReason::Unauthorized, "Unauthorized"},
    {CAccessReason::NotPermittedAtThisTime, "NotPermittedAtThisTime"},
    {CAccessReason::CredentialNotEnabled, "CredentialNotEnabled"},
    {CAccessReason::CredentialNotActive, "CredentialNotActive"},
    {CAccessReason::CredentialExpired, "CredentialExpired"},
    {CAccessReason::CredentialUnknown, "CredentialUnknown"},
    {CAccessReason::InvalidPIN, "InvalidPIN"},
    {CAccessReason::UserDisabled, "UserDisabled"},
    {CAccessReason::AccessPointDisabled, "AccessPointDisabled"},
    {CAccessReason::Other, "Other"},
};

} // namespace

const char* accessReasonToString(CAccessReason reason)
{
    const auto* row = Lookup<accessReasonTable>::find(reason);
    return row != nullptr ? row->text : "Other";
}

CAccessReason accessReasonFromString(const QByteArray& text)
{
    for (const auto& row : accessReasonTable) {
        if (text == row.text)
            return row.value;
    }
    return CAccessReason::Other;
}
