#include <foundation/core/item_id.h>

#include <QtCore/QDebug>

namespace {

// Done when the library is loaded: names are looked up before the first list of ids is put into a variant.
const bool registered = [] {
    qRegisterMetaType<CItemId>("CItemId");
    qRegisterMetaType<CItemIdList>("CItemIdList");
    qRegisterMetaType<CItemIdList>("QList<CItemId>");
    // So that an id in a variant shows as text, and a number in a variant is taken for an id.
    QMetaType::registerConverter<CItemId, QString>([](CItemId id) { return QString::number(id.value()); });
    QMetaType::registerConverter<CItemId, qlonglong>(&CItemId::value);
    QMetaType::registerConverter<qlonglong, CItemId>([](qlonglong id) { return CItemId(id); });
    return true;
}();

} // namespace

QDebug& operator<<(QDebug& debug, const CItemId& id)
{
    return debug << id.value();
}
