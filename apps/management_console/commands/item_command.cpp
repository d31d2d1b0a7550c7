#include "commands/item_command.h"

#include <foundation/core/canonical_text.h>
#include <foundation/datatypes/data_type.h>
#include <server/model/sql_access_control.h>

namespace {

// Whether somebody may be kept out by it who has been let in so far.
bool takesAway(const QString& property, const QVariant& value)
{
    const QString text = canonicalText(value);
    if (property == QLatin1String("enabled"))
        return text != QLatin1String("true");
    if (property == QLatin1String("blocked"))
        return text != QLatin1String("false");
    if (property == QLatin1String("userId"))
        return text == QLatin1String("0");
    return property == QLatin1String("validFrom") || property == QLatin1String("validTo");
}

} // namespace

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
    for (auto property = properties.cbegin(); property != properties.cend(); ++property) {
        if (takesAway(property.key(), *property))
            watchDoors({item});
    }
    change([&](CSqlAccessControl& model) { return setProperties(model, properties, item); });
}

bool ItemCommand::setProperties(CSqlAccessControl& model, const QVariantMap& properties, CItemId item) const
{
    for (auto property = properties.cbegin(); property != properties.cend(); ++property) {
        if (!model.setItemProperty(m_collection, property.key(), *property, item))
            return false;
    }
    return true;
}

void ItemCommand::setAll(const QList<CItemId>& items, const QString& name, const QVariant& value)
{
    if (takesAway(name, value))
        watchDoors(items);
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
    watchDoors(items);
    change([&](CSqlAccessControl& model) {
        for (const CItemId item : items) {
            if (!model.deleteItem(m_collection, item))
                return false;
        }
        return true;
    });
}
