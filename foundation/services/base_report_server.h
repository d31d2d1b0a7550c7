#pragma once

#include <foundation/core/export.h>
#include <foundation/core/item_id.h>
#include <foundation/services/simple_access_control.h>

#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

#include <memory>

/// Hands the data of users to whatever renders a report: one row for each user of the base model, its properties, and
/// for each row the lists "Media", "Codes" and "Properties".
///
///     server.setAccessControl(model);
///     server.setBaseModel(QStringLiteral("Users"), QStringLiteral("user"), ids);
///     QVariant value;
///     if (server.getUserDataValue(0, QStringLiteral("Media"), QStringLiteral("uid"), 1, value))
///         ...                                                        // of the first user's second medium
///
/// "Properties" are the property definitions that apply to users, each with its "name" (the labels from the outermost
/// definition down to it, joined by "/"), "label", "classes", "parentId" and the user's "value". Lookups return whether
/// they found something and leave `value` alone if not. Dates leave here as texts, see beautifyFormat().
class KYR_FOUNDATION_EXPORT CBaseReportServer : public QObject
{
    Q_OBJECT

public:
    explicit CBaseReportServer(QObject* parent = nullptr);
    ~CBaseReportServer() override;

    /// Not taken over; may go first.
    void setAccessControl(ISimpleAccessControl* accessControl);
    ISimpleAccessControl* accessControl() const { return m_accessControl; }

    void setReportTemplate(const QString& templateText);
    QString reportTemplate() const { return m_reportTemplate; }

    /// Keeps the ids in the order of sortIds(); set the model of the installation before. The lists of more than a few
    /// users are read once, when they are first asked for, and stay as they were until the base model is set again.
    void setBaseModel(const QString& modelName, const QString& dataName, const QList<CItemId>& ids);
    QString modelName() const { return m_modelName; }
    QString dataName() const { return m_dataName; }
    QList<CItemId> userIds() const { return m_userIds; }

    /// By the users' labels in the order of the locale, then by id.
    QList<CItemId> sortIds(const QList<CItemId>& ids) const;

    /// A property of the user in that row. "userId" is the id itself, a number. A property that the user does not have
    /// is an invalid value, and found.
    bool getUserPropertyValue(int row, const QString& name, QVariant& value);
    /// A field of entry `index` of one of the lists of the user in that row. As field of "Properties" also the whole
    /// name of a property serves, with index 0.
    bool getUserDataValue(int row, const QString& model, const QString& field, int index, QVariant& value);
    /// All lists of the user in that row by name, each a list of maps; empty if there is no such row.
    QVariantMap getUserDataModel(int row);
    /// Whether reports may name that field of that list.
    bool doesUserDataExist(const QString& model, const QString& field);
    /// Whether the installation defines that property, or a user of the base model has it.
    bool doesUserPropertyExist(const QString& name);

    /// Date and time as text in the short format of the default locale, without the time where it is the very start
    /// (00:00:00) or the very end (23:59:59) of a day; any other value as it is.
    static QVariant beautifyFormat(const QVariant& value);

    QString getWorkspaceFontDir() const;
    /// Logs one event for all the fonts; nothing if there are none.
    void logMissingFonts(const QStringList& fonts, const QString& report) const;

private:
    struct Snapshot;

    QVariantList userData(CItemId user, const QString& model) const;
    const QHash<qint64, QVariantList>& wholeList(const QString& model) const;
    QVariantList propertyDefinitions() const;
    QVariantList readPropertyDefinitions() const;
    bool isDefined(const QString& name) const;
    QVariant propertyValue(CItemId user, const QVariantMap& definition) const;

    QPointer<ISimpleAccessControl> m_accessControl;
    QString m_reportTemplate;
    QString m_modelName;
    QString m_dataName;
    QList<CItemId> m_userIds;
    std::unique_ptr<Snapshot> m_snapshot; // what was read of a base model of many users
};
