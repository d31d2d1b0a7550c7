#pragma once

#include <foundation/services/script_service.h>

#include <QtCore/QObject>

#include <memory>

class CAuditTrail;
class CSqlAccessControl;

/// What a script works on: an installation that is open here, or one at the other end of a socket.
class ScriptTarget : public QObject
{
    Q_OBJECT

public:
    using Callback = CScriptService::Callback;

    /// Calls an operation of CScriptService, or one of these: "errorString" is why the model refused the last change,
    /// "events" the trail, by a filter. False with a reason when that cannot be called so.
    /// \param callback of an operation that takes one: comes within the call or later, as long as this is there.
    virtual bool call(const QString& name, const QVariantList& arguments, const Callback& callback, QVariant* result,
                      QString* error) = 0;
    /// From now on notified() is emitted, or no longer.
    virtual void listen(bool isOn) = 0;

Q_SIGNALS:
    void notified(const QString& name, const QVariantMap& parameters, const QString& extension);
};

/// An installation that is open in this process.
class OpenInstallation : public ScriptTarget
{
    Q_OBJECT

public:
    /// Nothing is owned, and all outlives this.
    OpenInstallation(CSqlAccessControl* model, IDeviceService* devices, CAuditTrail* trail);
    ~OpenInstallation() override;

    bool call(const QString& name, const QVariantList& arguments, const Callback& callback, QVariant* result,
              QString* error) override;
    void listen(bool isOn) override { m_isHeard = isOn; }

private:
    bool events(const QVariantMap& filter, QVariant* result, QString* error) const;

    CSqlAccessControl* m_model;
    CAuditTrail* m_trail;
    bool m_isHeard = false;
    std::unique_ptr<CScriptService> m_service;
};
