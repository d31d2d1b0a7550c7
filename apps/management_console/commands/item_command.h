#pragma once

#include "commands/model_command.h"

/// A command on one kind of items: what `add`, `set` and `remove` have in common.
class ItemCommand : public ModelCommand
{
protected:
    ItemCommand(Session& session, Output& output, Named kind, const char* collection)
        : ModelCommand(session, output)
        , m_kind(kind)
        , m_collection(QLatin1String(collection))
    {
    }

    /// "LABEL [KEY=VALUE...]": makes an item and prints its id.
    void add(AppOptions& options);
    /// "ITEM KEY=VALUE...": changes one.
    void set(AppOptions& options);
    /// "ITEM...": takes some away.
    void remove(AppOptions& options);

    /// Makes an item of these properties and prints its id.
    void make(const QVariantMap& properties);
    /// Gives one item these properties, within a change.
    bool setProperties(CSqlAccessControl& model, const QVariantMap& properties, CItemId item) const;
    /// Gives items one property.
    void setAll(const QList<CItemId>& items, const QString& name, const QVariant& value);

    const Named m_kind;
    const QString m_collection;
};
