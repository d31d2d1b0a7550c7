#include "commands/model_command.h"

#include <foundation/services/script_service.h>

CScriptService* ModelCommand::service()
{
    QString error;
    CScriptService* scripts = session().scripts(error);
    if (!scripts)
        fail(error);
    return scripts;
}

QVariantList ModelCommand::items(const QString& collection)
{
    CScriptService* scripts = service();
    return scripts ? scripts->getModel(collection, {}, {}) : QVariantList();
}

QVariantList ModelCommand::usersOrGroups(int itemClass)
{
    QVariantList found;
    const QVariantList all = items(QStringLiteral("UsersGroups"));
    for (const QVariant& item : all) {
        if (item.toMap().value(QStringLiteral("class")).toInt() == itemClass)
            found.append(item);
    }
    return found;
}

QStringList ModelCommand::labels(const QString& collection, const QVariantList& ids)
{
    QStringList found;
    const QVariantList all = items(collection);
    for (const QVariant& item : all) {
        if (ids.contains(text(item.toMap(), "id")))
            found.append(text(item.toMap(), "label"));
    }
    return found;
}

bool ModelCommand::find(Named kind, const QString& name, CItemId& id, int unknownCode)
{
    QList<CItemId> ids;
    if (!findAll(kind, {name}, ids, unknownCode))
        return false;
    id = ids.first();
    return true;
}

bool ModelCommand::findAll(Named kind, const QStringList& names, QList<CItemId>& ids, int unknownCode)
{
    CSqlAccessControl* installation = model();
    if (!installation)
        return false;
    ItemNames itemNames(installation);
    if (itemNames.findAll(kind, names, ids))
        return true;
    warn(itemNames.error());
    done(itemNames.isAmbiguous() ? 2 : unknownCode);
    return false;
}

QVariantList ModelCommand::selected(const QVariantList& items, AppOptions& options)
{
    ListOptions wanted;
    if (!wanted.read(options))
        return {};
    int leftOut = 0;
    const QVariantList found = wanted.select(items, leftOut);
    if (leftOut > 0)
        warn(QStringLiteral("%1 more are left out (--after %2 shows them)")
                 .arg(leftOut)
                 .arg(text(found.constLast().toMap(), "id")));
    return found;
}

void ModelCommand::conclude(const QVariant& result, const QString& what)
{
    if (result.toString().isEmpty() || result.toString() == QLatin1String("0")
        || result.toString() == QLatin1String("false"))
        return fail(QStringLiteral("could not %1").arg(what));
    if (result.userType() != QMetaType::Bool)
        output().line(result.toString());
    done();
}
