#pragma once

#include <foundation/core/export.h>
#include <foundation/services/script_service.h>

#include <QtCore/QMetaMethod>
#include <QtCore/QVector>

/// An operation of CScriptService that is called by its name, with values that were read from somewhere: JSON, a
/// script. The list of operations is the service's own; nothing is said of them twice.
///
///     if (const CScriptMethod* method = CScriptMethod::find(QStringLiteral("getUser"))) {
///         QVariant user;
///         QString error;
///         if (!method->call(service, {QVariantMap{{"label", "Ada Moser"}}}, {}, &user, &error))
///             return refuse(error); // "filter" is to be a map
///     }
///
/// setNotificationHandler() is not among them: what it takes is no value.
class KYR_FOUNDATION_EXPORT CScriptMethod
{
public:
    struct Parameter
    {
        QString name;
        QString type; ///< "text", "number", "flag", "map", "list", "texts" (a list of texts) or "any"
    };

    /// In the order of the service's declaration.
    static const QVector<CScriptMethod>& all();
    /// nullptr for a name that none has.
    static const CScriptMethod* find(const QString& name);

    QString name() const { return QString::fromLatin1(m_method.name()); }
    /// Without the callback.
    const QVector<Parameter>& parameters() const { return m_parameters; }
    /// As a parameter's type; what it calls back with if it takes a callback, and "" for nothing at all.
    QString resultType() const { return m_resultType; }
    bool takesCallback() const { return m_takesCallback; }

    /// Calls the operation. Maps and lists at the end may be left out, and null stands for an empty one; a number
    /// passes as a text, for ids. False with a reason when the arguments are not what it takes: then nothing was
    /// called.
    /// \param service must be there; the operation may delete it.
    /// \param arguments by position, without the callback.
    /// \param callback of an operation that takes one, and only of these; see CScriptService.
    /// \param result may be nullptr; invalid when the operation has none.
    /// \param error why nothing was called; not nullptr.
    bool call(CScriptService* service, const QVariantList& arguments, const CScriptService::Callback& callback,
              QVariant* result, QString* error) const;

private:
    explicit CScriptMethod(const QMetaMethod& method);
    bool isCallable() const { return m_isCallable; }

    QMetaMethod m_method;
    QVector<Parameter> m_parameters;
    QString m_resultType;
    bool m_takesCallback = false;
    bool m_isCallable = true;
};
