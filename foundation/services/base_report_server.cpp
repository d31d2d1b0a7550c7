#include <foundation/services/base_report_server.h>

#include <foundation/core/qt_compat_p.h>
#include <foundation/datatypes/data_type.h>

#include <QtCore/QCollator>
#include <QtCore/QDateTime>
#include <QtCore/QHash>
#include <QtCore/QLocale>
#include <QtCore/QSet>

#include <algorithm>

namespace {

const char* const mediaFields[] = {"id",          "userId",           "actionProfileId",  "description",
                                   "brellMedium", "cardArchitecture", "mediumType",       "validFrom",
                                   "validTo",     "technicalMediaId", "publicMediaLabel", "uid"};
const char* const codeFields[] = {"id", "userId", "actionProfileId", "description", "code", "validFrom", "validTo"};
const char* const definitionFields[] = {"id", "label", "classes", "parentId"};
const char* const propertyFields[] = {"name", "label", "classes", "parentId", "value"};

template<std::size_t count>
QStringList toList(const char* const (&names)[count])
{
    QStringList list;
    for (const char* name : names)
        list.append(QLatin1String(name));
    return list;
}

bool isProperties(const QString& model)
{
    return model == QLatin1String("Properties");
}

QStringList fieldsOf(const QString& model)
{
    if (model == QLatin1String("Media"))
        return toList(mediaFields);
    if (model == QLatin1String("Codes"))
        return toList(codeFields);
    return isProperties(model) ? toList(propertyFields) : QStringList();
}

// A definition names its classes as a list or as a single number; without any it is meant for all.
bool appliesToUsers(const QVariant& classes)
{
    const auto list = QtCompat::isList(classes) ? classes.value<QVariantList>() : QVariantList{classes};
    return !classes.isValid() || list.isEmpty() || std::any_of(list.cbegin(), list.cend(), [](const QVariant& value) {
        return value.toInt() == UserClassUser;
    });
}

} // namespace

CBaseReportServer::CBaseReportServer(QObject* parent)
    : QObject(parent)
{
}

CBaseReportServer::~CBaseReportServer() = default;

void CBaseReportServer::setAccessControl(ISimpleAccessControl* accessControl)
{
    m_accessControl = accessControl;
}

void CBaseReportServer::setReportTemplate(const QString& templateText)
{
    m_reportTemplate = templateText;
}

void CBaseReportServer::setBaseModel(const QString& modelName, const QString& dataName, const QList<CItemId>& ids)
{
    m_modelName = modelName;
    m_dataName = dataName;
    m_userIds = sortIds(ids);
}

QList<CItemId> CBaseReportServer::sortIds(const QList<CItemId>& ids) const
{
    QHash<CItemId, QString> labels;
    if (m_accessControl) {
        for (const CItemId id : ids)
            labels.insert(id, m_accessControl->getUserProperty(QStringLiteral("label"), id).toString());
    }
    const QCollator collator{QLocale()};
    QList<CItemId> sorted = ids;
    std::sort(sorted.begin(), sorted.end(), [&](CItemId a, CItemId b) {
        const int order = collator.compare(labels.value(a), labels.value(b));
        return order != 0 ? order < 0 : a < b;
    });
    return sorted;
}

bool CBaseReportServer::getUserPropertyValue(int row, const QString& name, QVariant& value)
{
    if (row < 0 || row >= m_userIds.size())
        return false;
    const CItemId user = m_userIds[row];
    if (name == QLatin1String("userId"))
        value = user.value();
    else if (m_accessControl)
        value = beautifyFormat(m_accessControl->getUserProperty(name, user));
    else
        return false;
    return true;
}

bool CBaseReportServer::getUserDataValue(int row, const QString& model, const QString& field, int index,
                                         QVariant& value)
{
    if (row < 0 || row >= m_userIds.size() || index < 0)
        return false;
    const QVariantList entries = userData(m_userIds[row], model);
    if (fieldsOf(model).contains(field)) {
        if (index >= entries.size())
            return false;
        value = beautifyFormat(entries[index].toMap().value(field));
        return true;
    }
    for (const QVariant& entry : entries) {
        const QVariantMap property = entry.toMap();
        if (isProperties(model) && index == 0 && property.value(QStringLiteral("name")) == field) {
            value = beautifyFormat(property.value(QStringLiteral("value")));
            return true;
        }
    }
    return false;
}

QVariantMap CBaseReportServer::getUserDataModel(int row)
{
    QVariantMap lists;
    if (row < 0 || row >= m_userIds.size())
        return lists;
    for (const char* name : {"Media", "Codes", "Properties"}) {
        QVariantList entries = userData(m_userIds[row], QLatin1String(name));
        for (QVariant& entry : entries) {
            QVariantMap fields = entry.toMap();
            for (QVariant& value : fields)
                value = beautifyFormat(value);
            entry = fields;
        }
        lists.insert(QLatin1String(name), entries);
    }
    return lists;
}

bool CBaseReportServer::doesUserDataExist(const QString& model, const QString& field)
{
    return fieldsOf(model).contains(field) || (isProperties(model) && isDefined(field));
}

bool CBaseReportServer::doesUserPropertyExist(const QString& name)
{
    return name == QLatin1String("userId") || isDefined(name)
           || (m_accessControl && std::any_of(m_userIds.cbegin(), m_userIds.cend(), [&](CItemId user) {
                   return m_accessControl->getUserProperty(name, user).isValid();
               }));
}

bool CBaseReportServer::isDefined(const QString& name) const
{
    const QVariantList definitions = propertyDefinitions();
    return std::any_of(definitions.cbegin(), definitions.cend(), [&](const QVariant& definition) {
        return definition.toMap().value(QStringLiteral("name")) == name;
    });
}

QVariantList CBaseReportServer::userData(CItemId user, const QString& model) const
{
    const QStringList fields = fieldsOf(model);
    if (!m_accessControl || fields.isEmpty())
        return {};
    if (!isProperties(model))
        return m_accessControl->getModel(model, {{QStringLiteral("userId"), user.value()}}, fields);
    QVariantList properties = propertyDefinitions();
    for (QVariant& entry : properties) {
        QVariantMap property = entry.toMap();
        property.insert(QStringLiteral("value"), propertyValue(user, property));
        entry = property;
    }
    return properties;
}

// The definitions for users in the model's order, each with its path.
QVariantList CBaseReportServer::propertyDefinitions() const
{
    QVariantList applying;
    if (!m_accessControl)
        return applying;
    const QString label = QStringLiteral("label");
    const QString parentId = QStringLiteral("parentId");
    const QVariantList all = m_accessControl->getModel(QStringLiteral("Properties"), {}, toList(definitionFields));
    QHash<qint64, QVariantMap> byId;
    for (const QVariant& element : all)
        byId.insert(element.toMap().value(QStringLiteral("id")).toLongLong(), element.toMap());
    for (const QVariant& element : all) {
        QVariantMap definition = element.toMap();
        if (!appliesToUsers(definition.value(QStringLiteral("classes"))))
            continue;
        QStringList path{definition.value(label).toString()};
        QSet<qint64> passed{definition.value(QStringLiteral("id")).toLongLong()};
        qint64 parent = definition.value(parentId).toLongLong();
        // A circle of parents ends where it closes.
        while (byId.contains(parent) && !passed.contains(parent)) {
            passed.insert(parent);
            path.prepend(byId.value(parent).value(label).toString());
            parent = byId.value(parent).value(parentId).toLongLong();
        }
        definition.insert(QStringLiteral("name"), path.join(QLatin1Char('/')));
        applying.append(definition);
    }
    return applying;
}

// Models know a nested property by its path or by its label alone.
QVariant CBaseReportServer::propertyValue(CItemId user, const QVariantMap& definition) const
{
    const QVariant value = m_accessControl->getUserProperty(definition.value(QStringLiteral("name")).toString(), user);
    return value.isValid()
               ? value
               : m_accessControl->getUserProperty(definition.value(QStringLiteral("label")).toString(), user);
}

QVariant CBaseReportServer::beautifyFormat(const QVariant& value)
{
    if (value.userType() != QMetaType::QDateTime)
        return value;
    const QDateTime dateTime = value.toDateTime();
    const QTime time = dateTime.time();
    const QLocale locale;
    if (time == QTime(0, 0) || time == QTime(23, 59, 59))
        return locale.toString(dateTime.date(), QLocale::ShortFormat);
    return locale.toString(dateTime, QLocale::ShortFormat);
}

QString CBaseReportServer::getWorkspaceFontDir() const
{
    return m_accessControl ? m_accessControl->getAbsolutePath(QStringLiteral("Fonts")) : QString();
}

void CBaseReportServer::logMissingFonts(const QStringList& fonts, const QString& report) const
{
    if (fonts.isEmpty() || !m_accessControl)
        return;
    const auto quoted = [](const QString& name) { return QString(QLatin1Char('\'') + name + QLatin1Char('\'')); };
    QStringList parameters;
    for (const QString& font : fonts)
        parameters.append(QStringLiteral("{\"font\":\"%1\", \"report\":\"%2\"}").arg(quoted(font), quoted(report)));
    m_accessControl->logEvent(QStringLiteral("Font $font missing for User Report $report."),
                              parameters.join(QLatin1String(", ")), 0, 0, CItemId(), 0, false);
}
