#include <foundation/core/item_id.h>

#include <foundation/core/id_types_p.h>

#include <QtCore/QDebug>

namespace {

const bool registered = [] {
    IdTypes::registerType<CItemId>("CItemId", "CItemIdList");
    qRegisterMetaType<CItemIdList>("QList<CItemId>");
    return true;
}();

} // namespace

QDebug& operator<<(QDebug& debug, const CItemId& id)
{
    return debug << id.value();
}
