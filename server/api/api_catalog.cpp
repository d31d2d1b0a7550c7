#include <server/api/api_catalog_p.h>

#include <server/api/api_operations_p.h>
#include <server/api/api_values_p.h>

#include <foundation/services/script_service.h>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QMetaMethod>

#include <array>

namespace {

constexpr int mostParameters = 9;

bool isCallback(const QByteArray& type)
{
    return type == "Callback" || type.endsWith("::Callback");
}

QVariant defaultOf(int type)
{
    switch (type) {
    case QMetaType::QString:
        return QString();
    case QMetaType::QStringList:
        return QStringList();
    case QMetaType::Int:
        return 0;
    case QMetaType::UInt:
        return 0U;
    case QMetaType::Bool:
        return false;
    case QMetaType::QVariantMap:
        return QVariantMap();
    case QMetaType::QVariantList:
        return QVariantList();
    default:
        return {};
    }
}

} // namespace

const ApiCatalog& ApiCatalog::instance()
{
    static const ApiCatalog catalog;
    return catalog;
}

ApiCatalog::ApiCatalog()
{
    add(ApiOperations::staticMetaObject, true);
    add(CScriptService::staticMetaObject, false);
}

void ApiCatalog::add(const QMetaObject& object, bool isOwn)
{
    for (int index = object.methodOffset(); index < object.methodCount(); ++index) {
        const QMetaMethod meta = object.method(index);
        QString name = QString::fromLatin1(meta.name());
        if (isOwn)
            name.replace(QLatin1Char('_'), QLatin1Char('.'));
        const ApiRule* rule = ApiRule::find(name);
        if (meta.methodType() != QMetaMethod::Method || rule == nullptr || rule->gate == ApiGate::Nobody)
            continue;
        ApiMethod method{name, rule, isOwn, index, {}, false, meta.returnType()};
        const QList<QByteArray> types = meta.parameterTypes();
        const QList<QByteArray> names = meta.parameterNames();
        for (int i = 0; i < types.size(); ++i) {
            if (isCallback(types[i]))
                method.hasCallback = true;
            else
                method.parameters.append({QString::fromLatin1(names[i]), meta.parameterType(i), false});
        }
        for (int i = qMax(0, int(method.parameters.size()) - rule->optional); i < method.parameters.size(); ++i)
            method.parameters[i].isOptional = true;
        m_byName.insert(name, int(m_methods.size()));
        m_methods.append(method);
    }
}

const ApiMethod* ApiCatalog::find(const QString& name) const
{
    const auto found = m_byName.constFind(name);
    return found == m_byName.cend() ? nullptr : &m_methods.at(*found);
}

QVariantList ApiCatalog::describe() const
{
    QVariantList list;
    for (const ApiMethod& method : m_methods) {
        QVariantList parameters;
        for (const ApiMethod::Parameter& parameter : method.parameters) {
            QVariantMap described{{QStringLiteral("name"), parameter.name},
                                  {QStringLiteral("type"), ApiValues::typeName(parameter.type)}};
            if (parameter.isOptional)
                described.insert(QStringLiteral("optional"), true);
            parameters.append(described);
        }
        const auto permission = method.rule->permissionText();
        list.append(QVariantMap{{QStringLiteral("name"), method.name},
                                {QStringLiteral("params"), parameters},
                                {QStringLiteral("result"),
                                 ApiValues::typeName(method.hasCallback ? QMetaType::QVariantMap : method.resultType)},
                                {QStringLiteral("permission"), permission ? QVariant(*permission) : QVariant()}});
    }
    return list;
}

std::optional<QVariantList> ApiMethod::arguments(const QJsonValue& params, QString& error) const
{
    QList<QJsonValue> given;
    if (params.isArray()) {
        const QJsonArray array = params.toArray();
        for (const QJsonValue value : array)
            given.append(value);
    } else if (params.isObject()) {
        const QJsonObject object = params.toObject();
        int known = 0;
        for (const Parameter& parameter : parameters) {
            given.append(object.value(parameter.name));
            known += object.contains(parameter.name) ? 1 : 0;
        }
        if (known < object.size()) {
            error = QStringLiteral("%1 has no such parameter").arg(name);
            return std::nullopt;
        }
    } else if (!params.isUndefined()) {
        error = QStringLiteral("params must be a list or an object");
        return std::nullopt;
    }
    if (given.size() > parameters.size()) {
        error = QStringLiteral("%1 takes at most %2 parameters").arg(name).arg(parameters.size());
        return std::nullopt;
    }
    QVariantList result;
    for (int i = 0; i < parameters.size(); ++i) {
        const Parameter& parameter = parameters.at(i);
        const QJsonValue value = i < given.size() ? given.at(i) : QJsonValue(QJsonValue::Undefined);
        if (parameter.isOptional && (value.isUndefined() || value.isNull())) {
            result.append(defaultOf(parameter.type));
            continue;
        }
        const auto argument = value.isUndefined() ? std::nullopt : ApiValues::fromJson(value, parameter.type);
        if (!argument) {
            error = value.isUndefined() ? QStringLiteral("%1: %2 is missing").arg(name, parameter.name)
                                        : QStringLiteral("%1: %2 is not of type %3")
                                              .arg(name, parameter.name, ApiValues::typeName(parameter.type));
            return std::nullopt;
        }
        result.append(*argument);
    }
    return result;
}

QVariant ApiMethod::argument(const QVariantList& arguments, const char* parameter) const
{
    for (int i = 0; i < parameters.size(); ++i) {
        if (parameters.at(i).name == QLatin1String(parameter))
            return arguments.value(i);
    }
    return {};
}

QVariant ApiMethod::invoke(QObject* object, QVariantList arguments, const Callback& callback) const
{
    QVariant any;
    QVariantMap map;
    QVariantList list;
    bool truth = false;
    std::array<void*, mostParameters + 2> raw{};
    switch (resultType) {
    case QMetaType::QVariantMap:
        raw[0] = &map;
        break;
    case QMetaType::QVariantList:
        raw[0] = &list;
        break;
    case QMetaType::Bool:
        raw[0] = &truth;
        break;
    case QMetaType::QVariant:
        raw[0] = &any;
        break;
    default:
        break;
    }
    Q_ASSERT(arguments.size() == parameters.size() && arguments.size() <= mostParameters);
    int place = 1;
    for (int i = 0; i < arguments.size(); ++i) {
        QVariant& argument = arguments[i];
        raw[size_t(place++)] = parameters.at(i).type == QMetaType::QVariant ? &argument : argument.data();
    }
    Callback called = callback;
    if (hasCallback)
        raw[size_t(place)] = &called;
    object->qt_metacall(QMetaObject::InvokeMetaMethod, index, raw.data());
    switch (resultType) {
    case QMetaType::QVariantMap:
        return map;
    case QMetaType::QVariantList:
        return list;
    case QMetaType::Bool:
        return truth;
    default:
        return any;
    }
}
