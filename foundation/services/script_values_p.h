#pragma once

#include <foundation/core/item_id.h>

#include <QtCore/QStringList>
#include <QtCore/QVariant>

/// Between the model's values and those of scripts, in which ids are decimal texts.
namespace ScriptValues {

/// A text that is no decimal number is id 0.
CItemId itemId(const QString& text);
QList<CItemId> itemIds(const QStringList& texts);

/// Whether an entry or a property of that name holds an id.
bool isIdName(const QString& name);
/// The decimal text of an id given as CItemId, number or text.
QString idText(const QVariant& id);

inline QVariant fromModel(bool value)
{
    return value;
}
QVariant fromModel(CItemId id);
QVariant fromModel(const QVariant& value);
QVariantMap fromModel(QVariantMap map);
QVariantList fromModel(const QVariantList& list);
QVariantList fromModel(const QList<CItemId>& ids);
QVariantList fromModel(const QStringList& texts);

/// Adds to the stored properties of a device operation what scripts read of them.
void addOperationEntries(QVariantMap* properties);

/// The values and texts of an enumeration by its name; empty for an unknown one.
QVariantMap mapping(const QString& name);

} // namespace ScriptValues
