#pragma once

#include "commands/item_names.h"
#include "shell/arguments.h"
#include "shell/command.h"

class CScriptService;

/// A command that works on the installation. It sees it as scripts do: ids are texts.
class ModelCommand : public Command
{
public:
    using Command::Command;

protected:
    /// Null when the installation cannot be opened: the command has failed with the reason.
    CScriptService* service();
    QVariantList items(const QString& collection);
    /// Of one UserClass.
    QVariantList usersOrGroups(int itemClass);
    /// What the items with these ids are called.
    QStringList labels(const QString& collection, const QVariantList& ids);

    /// The item that a name stands for. False when there is none (the command has failed with `unknownCode`) or several
    /// (it was called wrongly): each candidate is told.
    bool find(Named kind, const QString& name, CItemId& id, int unknownCode = 1);
    /// The same for several, each once.
    bool findAll(Named kind, const QStringList& names, QList<CItemId>& ids, int unknownCode = 1);

    /// Those of a list that the options ask for; nothing, with a mistake in `options`, when they are wrong. What a
    /// limit leaves out is told.
    QVariantList selected(const QVariantList& items, AppOptions& options);

    /// Ends a command that has tried a change: prints the id of what was made, or fails.
    void conclude(const QVariant& result, const QString& what);
    static QString text(const QVariantMap& item, const char* name)
    {
        return item.value(QLatin1String(name)).toString();
    }
};
