#include <foundation/services/base_report_server.h>

#include <foundation/core/qt_compat_p.h>
#include <foundation/datatypes/data_type.h>

#include <QtCore/QCollator>
#include <QtCore/QDateTime>
#include <QtCore/QHash>
#include <QtCore/QLocale>
#include <QtCore/QSet>

#include <algorithm>
#include <utility>
#include <vector>

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

// Above that many users whole lists are read at once: one question for each user would cost an installation in memory,
// or a database without an index, a look at all its media each time.
constexpr int fewUsers = 16;

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

struct CBaseReportServer::Snapshot
{
    bool hasDefinitions = false;
    QVariantList definitions;
    QHash<QString, QHash<qint64, QVariantList>> lists; // by model and user
};

CBaseReportServer::CBaseReportServer(QObject* parent)
    : QObject(parent)
{
}

CBaseReportServer::~CBaseReportServer() = default;

void CBaseReportServer::setAccessControl(ISimpleAccessControl* accessControl)
{
    m_accessControl = accessControl;
    m_snapshot.reset();
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
    m_snapshot = m_userIds.size() > fewUsers ? std::make_unique<Snapshot>() : nullptr;
}

QList<CItemId> CBaseReportServer::sortIds(const QList<CItemId>& ids) const
{
    std::vector<std::pair<QString, CItemId>> labelled;
    labelled.reserve(size_t(ids.size()));
    for (const CItemId id : ids) {
        labelled.emplace_back(
            m_accessControl ? m_accessControl->getUserProperty(QStringLiteral("label"), id).toString() : QString(), id);
    }
    const QCollator collator{QLocale()};
    std::sort(labelled.begin(), labelled.end(), [&](const auto& a, const auto& b) {
        const int order = collator.compare(a.first, b.first);
        return order != 0 ? order < 0 : a.second < b.second;
    });
    QList<CItemId> sorted;
    sorted.reserve(ids.size());
    for (const auto& element : labelled)
        sorted.append(element.second);
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
    if (!isProperties(model)) {
        return m_snapshot ? wholeList(model).value(user.value())
                          : m_accessControl->getModel(model, {{QStringLiteral("userId"), user.value()}}, fields);
    }
    QVariantList properties = propertyDefinitions();
    for (QVariant& entry : properties) {
        QVariantMap property = entry.toMap();
        property.insert(QStringLiteral("value"), propertyValue(user, property));
        entry = property;
    }
    return properties;
}

const QHash<qint64, QVariantList>& CBaseReportServer::wholeList(const QString& model) const
{
    const auto known = m_snapshot->lists.constFind(model);
    if (known != m_snapshot->lists.constEnd())
        return *known;
    QHash<qint64, QVariantList>& byUser = m_snapshot->lists[model];
    const QVariantList all = m_accessControl->getModel(model, {}, fieldsOf(model));
    for (const QVariant& entry : all)
        byUser[entry.toMap().value(QStringLiteral("userId")).toLongLong()].append(entry);
    return byUser;
}

QVariantList CBaseReportServer::propertyDefinitions() const
{
    if (!m_snapshot)
        return readPropertyDefinitions();
    if (!m_snapshot->hasDefinitions)
        m_snapshot->definitions = readPropertyDefinitions();
    m_snapshot->hasDefinitions = true;
    return m_snapshot->definitions;
}

// The definitions for users in the model's order, each with its path.
QVariantList CBaseReportServer::readPropertyDefinitions() const
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
