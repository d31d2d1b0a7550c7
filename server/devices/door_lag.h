#pragma once

#include <server/devices/door_compiler.h>

#include <foundation/core/device_id.h>

#include <QtCore/QList>

/// Which doors still go by the list from before a change: a lost card opens them until their device is linked.
///
///     CDoorLag lag(&model);
///     lag.watch({card});                             // before the change
///     ...
///     lag.refresh(50);                               // behind it, and whenever there is time
///     for (const CDoorLag::Door& door : lag.doors()) ...
///
/// What devices have is known by their last words, whichever server heard them.
class KYR_SERVER_EXPORT CDoorLag
{
public:
    struct Door
    {
        CItemId id;
        QString label;
        CDeviceId device;
        /// Whether it has ever said what it has.
        bool isKnown = false;
    };

    /// The model is not taken over.
    explicit CDoorLag(const CSqlAccessControl* model);
    ~CDoorLag();

    /// Adds the doors that have a device and at which one of these has rights, or that are among them: users, groups,
    /// media, codes and doors.
    void watch(const QList<CItemId>& items);
    /// Forgets the doors whose device has said that it has the list that the model calls for now. Lists are compiled
    /// for so many milliseconds; false when there was no time for all of them.
    bool refresh(int milliseconds);
    /// Compiles anew what is not forgotten: the model may have been changed once more.
    void restart();
    /// The doors that are not forgotten, by their ids.
    QList<Door> doors() const;

private:
    class Private;
    std::unique_ptr<Private> d;
};
