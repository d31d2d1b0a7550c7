#pragma once

#include <server/api/api_rules_p.h>

#include <QtCore/QHash>
#include <QtCore/QJsonValue>
#include <QtCore/QList>
#include <QtCore/QVariant>

#include <functional>

struct QMetaObject;

/// A method as its meta-object and the table of rules have it.
struct ApiMethod
{
    struct Parameter
    {
        QString name;
        int type; ///< QMetaType
        bool isOptional;
    };
    using Callback = std::function<void(const QVariantMap& result)>;

    QString name;
    const ApiRule* rule;
    bool isOwn; ///< of ApiOperations, else of the script service
    int index;
    QList<Parameter> parameters;
    bool hasCallback; ///< behind the parameters: its result is what is called with
    int resultType;

    /// The parameters of a call, by position or by name, each of its type; what is left out has its default. Nothing
    /// with a reason when they do not fit.
    std::optional<QVariantList> arguments(const QJsonValue& params, QString& error) const;
    /// Runs it on an object that has it. The result is invalid when there is none, or it comes by the callback.
    QVariant invoke(QObject* object, QVariantList arguments, const Callback& callback) const;
    /// The parameter of that name; an invalid value when there is none.
    QVariant argument(const QVariantList& arguments, const char* parameter) const;
};

/// All methods that are offered.
class ApiCatalog
{
public:
    static KYR_SERVER_TEST_EXPORT const ApiCatalog& instance();

    /// Null for an unknown name.
    const ApiMethod* find(const QString& name) const;
    /// A map a method: "name", "params" ("name", "type", and "optional" where it may be left out), "result",
    /// "permission".
    KYR_SERVER_TEST_EXPORT QVariantList describe() const;

private:
    ApiCatalog();
    void add(const QMetaObject& object, bool isOwn);

    QList<ApiMethod> m_methods;
    QHash<QString, int> m_byName;
};
