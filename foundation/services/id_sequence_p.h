#pragma once

#include <foundation/core/item_id.h>

#include <QtCore/QVariant>

#include <map>
#include <utility>

/// Ids in the order in which they came, each with a value. Found and removed in logarithmic time; an id may stand more
/// than once.
class IdSequence
{
public:
    bool contains(CItemId id) const { return m_places.count(id) > 0; }

    /// The value of the first entry of that id, null when there is none. Valid until that entry is removed.
    QVariant* value(CItemId id)
    {
        const auto place = m_places.lower_bound(id);
        return place != m_places.end() && place->first == id ? &m_entries.at(place->second).second : nullptr;
    }
    const QVariant* value(CItemId id) const { return const_cast<IdSequence*>(this)->value(id); }
    void append(CItemId id, const QVariant& value = QVariant())
    {
        m_places.emplace(id, m_end);
        m_entries.emplace_hint(m_entries.end(), m_end++, std::make_pair(id, value));
    }
    /// Removes all entries of that id, and says how many there were.
    int remove(CItemId id)
    {
        int removed = 0;
        const auto places = m_places.equal_range(id);
        for (auto place = places.first; place != places.second; ++place, ++removed)
            m_entries.erase(place->second);
        m_places.erase(places.first, places.second);
        return removed;
    }

    CItemIdList ids() const
    {
        CItemIdList ids;
        for (const auto& entry : m_entries)
            ids.append(entry.second.first);
        return ids;
    }
    QVariantList values() const
    {
        QVariantList values;
        for (const auto& entry : m_entries)
            values.append(entry.second.second);
        return values;
    }

private:
    std::map<quint64, std::pair<CItemId, QVariant>> m_entries;
    std::multimap<CItemId, quint64> m_places; // those of one id in the order in which they came
    quint64 m_end = 0;
};
