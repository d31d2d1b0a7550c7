#include <server/devices/door_compiler.h>

#include <foundation/access/lock_list.h>
#include <server/database/sql_statement_p.h>
#include <server/model/access_facts_sql_p.h>
#include <server/model/model_vocabulary_p.h>
#include <server/model/sql_access_control.h>
#include <server/model/stored_value_p.h>

using namespace Model;

class CDoorCompiler::Private
{
public:
    explicit Private(CDatabase* inDatabase)
        : database(inDatabase)
        , source(inDatabase)
    {
    }

    bool readIdentities(CItemId accessPoint, QHash<qint64, CLockCredential>* identities);

    CDatabase* database;
    SqlAccessFacts source;
};

CDoorCompiler::CDoorCompiler(const CSqlAccessControl* model)
    : d(std::make_unique<Private>(model->database()))
{
}

CDoorCompiler::~CDoorCompiler() = default;

bool CDoorCompiler::Private::readIdentities(CItemId accessPoint, QHash<qint64, CLockCredential>* identities)
{
    SqlStatement rows(database, AccessFactsSql::identitiesAtDoor());
    for (int place = 0; place < 4; ++place)
        rows.bind(accessPoint.value());
    for (rows.exec(); rows.next();) {
        const QVariant value = StoredValues::decode(int(rows.integer(2)), rows.text(3), rows.bytes(4));
        identities->insert(rows.integer(0), rows.integer(1) == KindMedium
                                                ? CLockCredential::fromUid(value.toByteArray())
                                                : CLockCredential::fromCode(value.toString()));
    }
    return rows.isGood();
}

CCompiledDoor CDoorCompiler::compile(CItemId accessPoint)
{
    CCompiledDoor result;
    CLockListBuilder builder;
    const CAccessFacts facts = accessPoint != CItemId() ? d->source.ofDoor(accessPoint) : CAccessFacts();
    QHash<qint64, CLockCredential> identities;
    if (!d->source.errorString().isEmpty()
        || (accessPoint != CItemId() && !d->readIdentities(accessPoint, &identities))) {
        result.error = QStringLiteral("cannot read the model: %1").arg(d->database->errorString());
        return result;
    }
    result.sources.reserve(facts.users.size() + facts.credentials.size());
    for (const CAccessUser& user : facts.users)
        result.sources.append(user.id);
    for (const CAccessCredential& credential : facts.credentials)
        result.sources.append(credential.id);
    for (const CAccessRight& right : facts.rights) {
        if (right.group != CItemId())
            result.sources.append(right.group);
    }

    const bool isInService = !facts.accessPoints.isEmpty() && facts.accessPoints.first().isEnabled;
    const bool hasZone = isInService && facts.accessPoints.first().zone >= 0;
    QVector<quint8> numbers(facts.schedules.size(), 0);
    for (const CAccessGrant grant : facts.grants) {
        const CAccessUser& user = facts.users.at(grant.user);
        const CAccessRight& right = facts.rights.at(grant.right);
        if (!isInService || !user.isEnabled || !right.period.isReadable)
            continue;
        if (right.options.testFlag(CDataType::AccessRightOptionOnlineAccess)) {
            builder.setAsksOnline(true);
            continue;
        }
        CLockEntry entry;
        entry.rightPeriod = right.period;
        entry.user = user.id;
        for (int i = user.firstCredential; i < user.firstCredential + user.credentialCount; ++i) {
            const CAccessCredential& credential = facts.credentials.at(i);
            entry.credential = identities.value(credential.id.value());
            if (!credential.isEnabled || !credential.period.isReadable || entry.credential.isNone())
                continue;
            if (entry.schedule == 0) {
                // A schedule that nobody knows, or at a door whose zone nobody knows, is never open.
                if (right.schedule == CAccessRight::always) {
                    entry.schedule = builder.schedule(CTimeProfile::always());
                } else if (quint8& number = numbers[right.schedule]; number == 0) {
                    const CAccessSchedule& schedule = facts.schedules.at(right.schedule);
                    number = builder.schedule(schedule.isKnown && hasZone ? schedule.profile : CTimeProfile());
                    entry.schedule = number;
                } else {
                    entry.schedule = number;
                }
            }
            entry.credentialPeriod = credential.period;
            entry.medium = credential.id;
            builder.append(entry);
        }
    }
    result.error = builder.error();
    if (!result.error.isEmpty())
        return result;
    result.text = builder.text();
    result.revision = CLockList::revisionOf(result.text);
    return result;
}
