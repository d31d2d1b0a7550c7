// Authorizations as lists of texts, as they are stored and sent.
#include "fuzz_support.h"

#include <foundation/datatypes/authorization_types.h>

#include <memory>

FUZZ_TARGET(authorization_list)
{
    QStringList list;
    while (!input.atEnd())
        list += input.text();
    using Pointer = std::unique_ptr<CAuthorizationTypeData>;
    const Pointer read(CAuthorizationTypeData::fromStringList(list));
    if (!read) {
        const int type = list.value(0).toInt();
        FUZZ_CHECK(list.size() < 2 || type < 1 || type > 13);
        return;
    }
    const Pointer copy(read->clone());
    FUZZ_CHECK(*copy == *read);

    // What is written is what is read, from then on.
    const QStringList written = read->toStringList();
    FUZZ_CHECK(written.size() <= 12);
    const Pointer same(CAuthorizationTypeData::fromStringList(written));
    FUZZ_CHECK(same && same->getType() == read->getType() && same->getIdType() == read->getIdType());
    FUZZ_CHECK(same->getId() == read->getId());
    FUZZ_CHECK(same->toStringList() == written);
}
