#pragma once

#include <QtCore/QObject>
#include <QtCore/QVariantMap>

#include <functional>
#include <utility>

/// A callback that waits for its one call. It belongs to whoever must be alive for the call to make sense, and goes
/// away after it. A context for connections: they end with it.
class PendingAnswer : public QObject
{
public:
    PendingAnswer(std::function<void(const QVariantMap&)> callback, QObject* parent)
        : QObject(parent)
        , m_callback(std::move(callback))
    {
    }

    /// Calls back the first time. The callback may delete anything, this object and its parent included.
    void answer(const QVariantMap& result)
    {
        const auto callback = std::exchange(m_callback, nullptr);
        if (!callback)
            return;
        deleteLater();
        callback(result);
    }

private:
    std::function<void(const QVariantMap&)> m_callback;
};
