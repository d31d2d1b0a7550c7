#include "commands/item_command.h"

#include <foundation/datatypes/data_type.h>
#include <server/model/sql_access_control.h>

void ItemCommand::add(AppOptions& options)
{
    const QStringList words = options.positional();
    QVariantMap properties{{QStringLiteral("label"), words.constFirst()}};
    if (!readProperties(words.mid(1), properties, options))
        return;
    if (words.constFirst().trimmed().isEmpty())
        return fail(QStringLiteral("a label must not be empty"));
    if (m_kind == Named::User || m_kind == Named::Group)
        properties.insert(QStringLiteral("class"), int(m_kind == Named::User ? UserClassUser : UserClassGroup));
    make(properties);
}

void ItemCommand::make(const QVariantMap& properties)
{
    QStringList made;
    change(
        [&](CSqlAccessControl& model) {
            const CItemId id = model.createItem(m_collection, properties);
            made.append(QString::number(id.value()));
            return id != CItemId();
        },
        &made);
}

void ItemCommand::set(AppOptions& options)
{
    const QStringList words = options.positional();
    QVariantMap properties;
    CItemId item;
    if (!readProperties(words.mid(1), properties, options) || !find(m_kind, words.constFirst(), item))
        return;
    change([&](CSqlAccessControl& model) {
        for (auto property = properties.cbegin(); property != properties.cend(); ++property) {
            if (!model.setItemProperty(m_collection, property.key(), *property, item))
                return false;
        }
        return true;
    });
}

void ItemCommand::setAll(const QList<CItemId>& items, const QString& name, const QVariant& value)
{
    change([&](CSqlAccessControl& model) {
        for (const CItemId item : items) {
            if (!model.setItemProperty(m_collection, name, value, item))
                return false;
        }
        return true;
    });
}

void ItemCommand::remove(AppOptions& options)
{
    QList<CItemId> items;
    if (!findAll(m_kind, options.positional(), items))
        return;
    change([&](CSqlAccessControl& model) {
        for (const CItemId item : items) {
            if (!model.deleteItem(m_collection, item))
                return false;
        }
        return true;
    });
}
