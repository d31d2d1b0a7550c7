#include <server/model/item_query_p.h>

#include <foundation/core/canonical_text.h>
#include <server/database/id_list_p.h>
#include <server/model/stored_value_p.h>

using namespace Model;

namespace {

// Whether a text is the decimal form of the number, and nothing else.
bool isNumber(const QString& text, qint64* number)
{
    bool good = false;
    *number = text.toLongLong(&good);
    return good && QString::number(*number) == text;
}

} // namespace

const QString ItemCondition::ofProperty = QStringLiteral("property=(SELECT id FROM property WHERE kind=? AND name=?)");

ItemCondition::ItemCondition(CDatabase* database, const ItemQuery& query)
    : from(QStringLiteral("item i WHERE i.kind=?"))
{
    const QString key = parentKey(query.kind);
    QString byItem;
    QString byValue;
    QVariantList itemValues;
    QVariantList valueValues;
    QString driving;
    QVariantList drivingValues;
    // Few items have the same label or belong to the same one: then these lead. A "+" keeps other columns from leading.
    const bool isLedByItem = query.filter.contains(idKey) || query.filter.contains(labelKey)
                             || (!key.isEmpty() && toId(query.filter.value(key)) != 0);
    const QLatin1String plus(isLedByItem ? "+" : "");
    for (auto entry = query.filter.cbegin(); entry != query.filter.cend(); ++entry) {
        const QString& name = entry.key();
        const QString text = canonicalText(entry.value());
        qint64 number = 0;
        if (name == idKey || name == classKey || (!key.isEmpty() && name == key)) {
            const bool isNumeric = isNumber(text, &number);
            if (name == idKey)
                byItem += QLatin1String(" AND i.id=?");
            else if (name == classKey)
                byItem += QLatin1String(" AND ") + plus + QLatin1String("i.class=?");
            else
                byItem += number != 0 ? QLatin1String(" AND i.parent=?") : QLatin1String(" AND COALESCE(i.parent,0)=?");
            if (!isNumeric)
                byItem += QLatin1String(" AND 1=0");
            itemValues.append(number);
        } else if (name == labelKey) {
            byItem += QLatin1String(" AND i.label=?");
            itemValues.append(StoredValues::lookUpText(text));
        } else if (name == locationKey || isRelation(name)) {
            isExact = false;
        } else if (text.isEmpty()) {
            byValue += QStringLiteral(" AND NOT EXISTS(SELECT 1 FROM property_value v WHERE v.item=i.id AND v.%1 AND "
                                      "v.value<>'')")
                           .arg(ofProperty);
            valueValues << int(query.kind) << name;
        } else if (driving.isEmpty() && !isLedByItem) {
            // The index of values leads; it has the ids in their order.
            driving = QStringLiteral("property_value w %2 item i ON i.id=w.item WHERE w.%1 AND w.value=? AND "
                                     "w.item>? AND i.kind=?")
                          .arg(ofProperty, dialectOf(database).leadingJoin);
            drivingValues << int(query.kind) << name << StoredValues::lookUpText(text) << query.after;
        } else {
            byValue += QStringLiteral(" AND EXISTS(SELECT 1 FROM property_value v WHERE v.item=i.id AND v.%1 AND "
                                      "v.value=?)")
                           .arg(ofProperty);
            valueValues << int(query.kind) << name << StoredValues::lookUpText(text);
        }
    }
    for (auto entry = query.unlike.cbegin(); entry != query.unlike.cend(); ++entry) {
        byValue +=
            QStringLiteral(" AND NOT EXISTS(SELECT 1 FROM property_value v WHERE v.item=i.id AND v.%1 AND v.value=?)")
                .arg(ofProperty);
        valueValues << int(query.kind) << entry.key() << StoredValues::lookUpText(canonicalText(*entry));
    }
    if (!driving.isEmpty()) {
        from = driving;
        id = QStringLiteral("w.item");
    }
    values << drivingValues << int(query.kind);
    if (query.itemClass != anyClass) {
        from += QLatin1String(" AND ") + plus + QLatin1String("i.class=?");
        values << query.itemClass;
    }
    from += QLatin1String(" AND ") + plus + QLatin1String("i.id>?");
    values << query.after;
    if (!query.among.isEmpty()) {
        const IdList among(database, query.among);
        from += QLatin1String(" AND i.id IN ") + among.sql();
        values << among.value();
    }
    values << itemValues << valueValues;
    from += byItem + byValue;
}
