#include <foundation/core/item_id.h>

#include <QtCore/QDebug>

namespace {
// Done when the library is loaded: names are looked up before the first list of ids is put into a variant.
const bool registered = [] {
    qRegisterMetaType<CItemId>("CItemId");
    qRegisterMetaType<CItemIdList>("CItemIdList");
    qRegisterMetaType<CItemIdList>("QList<CItemId>");
    return true;
}();
} // namespace

QDebug& operator<<(QDebug& debug, const CItemId& id)
{
    return debug << id.value();
}
