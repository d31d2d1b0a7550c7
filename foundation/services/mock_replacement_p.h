#pragma once

#include <QtCore/QList>
#include <QtCore/QVariantMap>

class MockStore;

/// What is to take the place of a whole collection: items that can be stored just as they are, or why they cannot.
///
/// Items without an id get one above the highest in use, those without a class or label the usual one. Refused is what
/// would be stored as something else: an item that is no map, an id that is none or taken, a class that nobody finds,
/// a reference to an item that is not there (or not any more), a code without an owner, a group or a doubled id as a
/// member. Members and access points of rights may be unknown, if they have been so before.
struct MockReplacement
{
    MockReplacement(const MockStore& store, const QString& collectionName, const QVariantList& list);

    QList<QVariantMap> items;
    QString refusal; // empty for none
};
