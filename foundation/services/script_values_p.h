#pragma once

#include <foundation/core/item_id.h>

#include <QtCore/QStringList>
#include <QtCore/QVariant>

/// Between the model's values and those of scripts, in which ids are decimal texts.
namespace ScriptValues {

/// A text that is no decimal number is id 0.
CItemId itemId(const QString& text);
QList<CItemId> itemIds(const QStringList& texts);

/// The value of a property: ids are converted where its type says that they are, or where the property is one of the
/// model's own. (Properties that people name may end in "Id" and hold anything.)
QVariant propertyFromModel(const QString& name, const QVariant& value);

inline QVariant fromModel(bool value)
{
    return value;
}
QVariant fromModel(CItemId id);
QVariant fromModel(const QVariant& value);
/// Entries under "id" or a name that ends in "Id" are ids.
QVariantMap fromModel(QVariantMap map);
QVariantList fromModel(const QVariantList& list);
QVariantList fromModel(const QList<CItemId>& ids);
QVariantList fromModel(const QStringList& texts);

/// Adds to the stored properties of a device operation what scripts read of them.
void addOperationEntries(QVariantMap* properties);

/// The values and texts of an enumeration by its name; empty for an unknown one.
QVariantMap mapping(const QString& name);
QStringList mappingNames();

} // namespace ScriptValues
