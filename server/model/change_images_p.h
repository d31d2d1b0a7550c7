#pragma once

#include <server/model/change_log_p.h>
#include <server/model/item_store_p.h>
#include <server/model/model_recorder.h>

#include <QtCore/QHash>

/// What items looked like before a transaction touched them, so that a recorder can be told what it has changed.
class ChangeImages
{
public:
    /// Keeps what the item holds now, unless it was kept in this transaction already.
    void keep(ItemStore& items, Model::Kind kind, qint64 id);
    /// What the noted changes come to, each item once, in the order of their first note.
    QVector<CModelChange> differences(ItemStore& items, const QVector<ItemChange>& changes);
    void clear() { m_before.clear(); }

private:
    QHash<QPair<int, qint64>, QVariantMap> m_before;
};
