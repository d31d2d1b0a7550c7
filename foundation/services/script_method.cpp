#include <foundation/services/script_method.h>

#include <cmath>
#include <limits>

namespace {

enum class Type
{
    Text,
    Number,
    Unsigned,
    Flag,
    Map,
    List,
    Texts,
    Any,
    Callback,
    Nothing,
    Unknown,
};

struct TypeName
{
    const char* written; // in the service's declaration
    Type type;
    const char* name; // for those who call
};

constexpr TypeName typeNames[] = {
    // As moc spells them.
    {"QString", Type::Text, "text"},       {"int", Type::Number, "number"},   {"uint", Type::Unsigned, "number"},
    {"bool", Type::Flag, "flag"},          {"QVariantMap", Type::Map, "map"}, {"QVariantList", Type::List, "list"},
    {"QStringList", Type::Texts, "texts"}, {"QVariant", Type::Any, "any"},    {"Callback", Type::Callback, ""},
    {"void", Type::Nothing, ""},
};

const TypeName& typeNamed(const QByteArray& written)
{
    static constexpr TypeName unknown{"", Type::Unknown, ""};
    for (const TypeName& name : typeNames) {
        if (written == name.written)
            return name;
    }
    return unknown;
}

bool isNull(const QVariant& value)
{
    return !value.isValid() || value.userType() == QMetaType::Nullptr;
}

bool isNumber(const QVariant& value)
{
    switch (value.userType()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
        return true;
    default:
        return false;
    }
}

bool toText(const QVariant& value, QVariant* text)
{
    if (value.userType() != QMetaType::QString && !isNumber(value))
        return false;
    const double number = value.toDouble();
    constexpr double exact = 9007199254740992.0; // 2^53: beyond it a double is not the number that was meant
    if (value.userType() == QMetaType::Double && std::floor(number) == number && std::abs(number) < exact)
        *text = QString::number(qint64(number));
    else
        *text = value.toString();
    return true;
}

template<typename Number>
bool toNumber(const QVariant& value, QVariant* number)
{
    const double read = value.toDouble();
    if (!isNumber(value) || std::floor(read) != read || read < double(std::numeric_limits<Number>::min())
        || read > double(std::numeric_limits<Number>::max()))
        return false;
    *number = QVariant::fromValue(Number(read));
    return true;
}

bool toTexts(const QVariant& value, QVariant* texts)
{
    QStringList list;
    const QVariantList values = value.toList();
    for (const QVariant& element : values) {
        QVariant text;
        if (!toText(element, &text))
            return false;
        list.append(text.toString());
    }
    *texts = list;
    return true;
}

bool isList(const QVariant& value)
{
    return value.userType() == QMetaType::QVariantList || value.userType() == QMetaType::QStringList;
}

// The value in the type that the operation takes; false when it is another kind of value.
bool convert(const QVariant& value, Type type, QVariant* converted)
{
    switch (type) {
    case Type::Text:
        return toText(value, converted);
    case Type::Number:
        return toNumber<int>(value, converted);
    case Type::Unsigned:
        return toNumber<unsigned int>(value, converted);
    case Type::Flag:
        *converted = value;
        return value.userType() == QMetaType::Bool;
    case Type::Map:
        *converted = value.toMap();
        return isNull(value) || value.userType() == QMetaType::QVariantMap;
    case Type::List:
        *converted = value.toList();
        return isNull(value) || isList(value);
    case Type::Texts:
        return (isNull(value) || isList(value)) && toTexts(value, converted);
    case Type::Any:
        *converted = isNull(value) ? QVariant() : value;
        return true;
    case Type::Callback:
    case Type::Nothing:
    case Type::Unknown:
        break;
    }
    return false;
}

} // namespace

CScriptMethod::CScriptMethod(const QMetaMethod& method)
    : m_method(method)
    , m_resultType(QLatin1String(typeNamed(method.typeName()).name))
{
    const QList<QByteArray> types = method.parameterTypes();
    const QList<QByteArray> names = method.parameterNames();
    for (int i = 0; i < types.size(); ++i) {
        const TypeName& type = typeNamed(types.at(i));
        if (type.type == Type::Callback)
            m_takesCallback = true;
        else
            m_parameters.append({QString::fromLatin1(names.at(i)), QLatin1String(type.name)});
        m_isCallable = m_isCallable && type.type != Type::Unknown;
    }
    if (m_takesCallback)
        m_resultType = QStringLiteral("map");
}

const QVector<CScriptMethod>& CScriptMethod::all()
{
    static const QVector<CScriptMethod> methods = [] {
        QVector<CScriptMethod> found;
        const QMetaObject& service = CScriptService::staticMetaObject;
        for (int i = service.methodOffset(); i < service.methodCount(); ++i) {
            const CScriptMethod method(service.method(i));
            if (method.isCallable())
                found.append(method);
        }
        return found;
    }();
    return methods;
}

const CScriptMethod* CScriptMethod::find(const QString& name)
{
    for (const CScriptMethod& method : all()) {
        if (method.name() == name)
            return &method;
    }
    return nullptr;
}

bool CScriptMethod::call(CScriptService* service, const QVariantList& arguments,
                         const CScriptService::Callback& callback, QVariant* result, QString* error) const
{
    if (arguments.size() > m_parameters.size()) {
        *error =
            QStringLiteral("%1 takes %2 arguments, not %3").arg(name()).arg(m_parameters.size()).arg(arguments.size());
        return false;
    }
    const QList<QByteArray> types = m_method.parameterTypes();
    QVector<QVariant> values(types.size());
    // As moc's code takes them: the place of the result, then that of each argument.
    QVector<void*> places(types.size() + 1);
    int given = 0;
    for (int i = 0; i < types.size(); ++i) {
        const Type type = typeNamed(types.at(i)).type;
        if (type == Type::Callback) {
            places[i + 1] = const_cast<CScriptService::Callback*>(&callback);
            continue;
        }
        const Parameter& parameter = m_parameters.at(given);
        QVariant& value = values[i];
        const bool isGiven = given < arguments.size();
        if (!convert(isGiven ? arguments.at(given) : QVariant(), type, &value) || (!isGiven && type == Type::Any)) {
            *error =
                isGiven
                    ? QStringLiteral("%1: \"%2\" takes a value of type %3").arg(name(), parameter.name, parameter.type)
                    : QStringLiteral("%1: \"%2\" is missing").arg(name(), parameter.name);
            return false;
        }
        places[i + 1] = type == Type::Any ? static_cast<void*>(&value) : value.data();
        ++given;
    }
    QVariant any;
    QVariantMap map;
    QVariantList list;
    const Type resultType = typeNamed(m_method.typeName()).type;
    if (resultType == Type::Any)
        places[0] = &any;
    else if (resultType == Type::Map)
        places[0] = &map;
    else if (resultType == Type::List)
        places[0] = &list;
    service->qt_metacall(QMetaObject::InvokeMetaMethod, m_method.methodIndex(), places.data());
    if (result)
        *result = resultType == Type::Map ? QVariant(map) : resultType == Type::List ? QVariant(list) : any;
    return true;
}
