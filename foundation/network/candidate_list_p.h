#pragma once

#include <foundation/core/device_id.h>

#include <QtCore/QList>
#include <QtCore/QSet>
#include <QtCore/QStringList>

/// The candidates of a connection job that are still to be tried, in order. A text may stand in it several times.
///
/// Everything but the constructor and `prepend` takes constant time, also with many thousands of candidates: what is
/// removed from the middle is only marked, and skipped when it reaches the front.
class CandidateList
{
public:
    explicit CandidateList(const QStringList& candidates);

    bool isEmpty() const { return m_texts.isEmpty(); }
    const QString& first() const { return m_texts.first(); }
    /// The device that the first label in the list names; invalid without a label.
    CDeviceId firstLabel() const { return m_labels.isEmpty() ? CDeviceId() : m_labels.first(); }

    void removeFirst();
    /// Removes all occurrences of a candidate that is not a label.
    void removeAll(const QString& candidate);
    /// Puts candidates in front, in their order, whether or not such ones were removed before.
    void prepend(const QStringList& candidates);
    void clear();

private:
    void dropFirst();
    void skipRemoved();

    QStringList m_texts;
    QList<CDeviceId> m_labels; // of the labels in m_texts, in the same order
    QSet<QString> m_removed;
};
