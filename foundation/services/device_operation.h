#pragma once

#include <foundation/core/export.h>

#include <QtCore/QList>
#include <QtCore/QMetaProperty>
#include <QtCore/QObject>
#include <QtCore/QVariantMap>

/// A queued operation on a device, such as reading its log or writing its firmware. IDeviceService makes it and runs
/// it.
///
/// What it works on stands in its Qt properties; those that are stored (STORED true, the default) can be read and
/// kept as a map, so that a host can save an operation and make it again:
///
///     class ReadLog : public IDeviceOperation
///     {
///         Q_OBJECT
///         Q_PROPERTY(quint32 deviceId MEMBER m_deviceId)
///         ...
///
/// The virtual functions' order is part of the binary interface.
class KYR_FOUNDATION_EXPORT IDeviceOperation : public QObject
{
    Q_OBJECT

public:
    enum Status : int
    {
        Pending = 0,
        Running = 1,
        Done = 2,
        Failed = 3,
    };
    Q_ENUM(Status)

    enum Priority : int
    {
        LowPriority = 0,
        HighPriority = 1,
        InteractivePriority = 2,
        ConnectivityPriority = 3,
        NumberOfPriorities = 4, ///< how many there are; no priority
    };
    Q_ENUM(Priority)

    IDeviceOperation(QObject* parent, unsigned int priority);
    ~IDeviceOperation() override;

    /// Called once on a finished operation before it is handed back to the service: the place to take over results.
    /// Returns whether there are any; callers in this library do not ask.
    virtual bool complete() = 0;
    /// For the host: does the work, on behalf of whoever runs the queue.
    virtual void execute() = 0;
    /// For the host: a text for people who look at the queue.
    virtual QString description() const = 0;

    /// Ends the operation early; finished() follows.
    Q_INVOKABLE virtual void abort() = 0;
    /// Deletes the operation, at once or later, as its maker sees fit.
    Q_INVOKABLE virtual void dispose() = 0;
    /// Takes the operation out of the queue that manages it.
    Q_INVOKABLE virtual void takeFromManager() = 0;

    /// The stored properties that the classes derived from this one declare, those of base classes first, each class's
    /// in the order of declaration.
    QList<QMetaProperty> storedProperties() const;
    /// Their names and present values. Where a name is declared twice, the most derived class counts.
    QVariantMap storedPropertiesMap() const;

    /// For whoever manages the operation; nullptr at first, never looked at here.
    void* ownerData() const { return m_ownerData; }
    void setOwnerData(void* data) { m_ownerData = data; }

    unsigned int priority() const { return m_priority; }
    Status status() const { return m_status; }
    void setStatus(Status status) { m_status = status; }

    /// A number of the owner's own, 0 at first.
    quint32 ownerValue() const { return m_ownerValue; }
    void setOwnerValue(quint32 value) { m_ownerValue = value; }

Q_SIGNALS:
    void started();
    void finished();

private:
    void* m_ownerData = nullptr;
    unsigned int m_priority;
    Status m_status = Pending;
    quint32 m_ownerValue = 0;
};
