#include <server/model/access_facts_source.h>

#include <server/model/access_facts_model_p.h>
#include <server/model/access_facts_sql_p.h>
#include <server/model/sql_access_control.h>

IAccessFactsSource::~IAccessFactsSource() = default;

std::unique_ptr<IAccessFactsSource> IAccessFactsSource::of(ISimpleAccessControl* model)
{
    if (auto* sql = qobject_cast<CSqlAccessControl*>(model))
        return std::make_unique<SqlAccessFacts>(sql->database());
    return std::make_unique<ModelAccessFacts>(model);
}
