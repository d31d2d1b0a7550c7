#pragma once

#include <server/model/change_images_p.h>
#include <server/model/change_log_p.h>
#include <server/model/item_store_p.h>
#include <server/model/relation_store_p.h>
#include <server/model/sql_access_control.h>

#include <QtCore/QMap>
#include <QtCore/QPointer>

/// What the families of operations share: the stores, the frame around a change, and the reasons of refusals.
class CSqlAccessControl::Private
{
public:
    explicit Private(CSqlAccessControl* model)
        : q(model)
        , items(&database)
        , relations(&database)
        , log(&database)
    {
    }

    /// Runs a change within a transaction: it is stored when `work` answers true. What was changed is told afterwards;
    /// nobody may look at members behind this call, as a receiver may have deleted the model.
    template<typename Work>
    bool change(Work&& work)
    {
        const bool good = beginChange() && work();
        return endChange(good);
    }
    bool beginChange();
    bool endChange(bool good);
    /// Keeps the reason of a refusal; false, to be returned.
    bool refuse(const QString& reason);
    bool refuseUnknown(Model::Kind kind, int itemClass, qint64 id);
    /// To be said before an item that is there is changed or deleted, so that a recorder hears what it was.
    void touch(Model::Kind kind, qint64 id);
    void noteLogin(const QString& name, const QString& what);
    /// Tells the recorder, within the transaction.
    bool tellRecorder();
    /// Notes what is to be told when it is stored.
    void record(Model::Kind kind, qint64 id, Model::Change what);
    /// Tells of changes that were not told yet, whoever made them.
    void announce();

    // Items, within a transaction
    qint64 create(Model::Kind kind, int itemClass, const QVariantMap& properties, qint64 id = 0);
    /// All values of an item that was made just now, or was emptied.
    bool fill(Model::Kind kind, int itemClass, qint64 id, const QVariantMap& properties);
    bool set(Model::Kind kind, int itemClass, const QString& name, const QVariant& value, qint64 id);
    /// The same without looking whether the item is there, and without a note.
    bool put(Model::Kind kind, const QString& name, const QVariant& value, qint64 id);
    bool setParent(Model::Kind kind, qint64 id, qint64 parent);
    bool setMembers(qint64 group, const QList<qint64>& users);
    bool setRights(qint64 holder, const QVariantList& rights);
    bool setRight(qint64 holder, qint64 accessPoint, QVariantMap properties);
    qint64 addRight(qint64 holder, qint64 accessPoint, QVariantMap properties);
    bool checkRight(QVariantMap* properties);
    bool isLabelFree(Model::Kind kind, const QVariant& label, qint64 id);
    bool isUnique(Model::Kind kind, const QString& name, const QVariant& value, qint64 id);
    bool remove(Model::Kind kind, int itemClass, qint64 id);
    bool replace(Model::Kind kind, const QVariantList& replacement);
    /// Puts the items of several collections, by name, into the model; in an empty one they keep their ids.
    bool import(const QMap<QString, QVariantList>& collections);
    bool eraseProperty(Model::Kind kind, int itemClass, const QString& name);
    bool isHolderThere(qint64 holder);
    bool refuseLogin(const QString& name);
    QString startSession(const QString& login, unsigned int flags, const QString& client, const QString& address,
                         int* secondsToLive);
    /// 0 when there is none.
    qint64 systemItem(CItemId id) const;
    /// By rights of the user's own and of the user's groups.
    QSet<qint64> doorsOf(qint64 user) const;

    CSqlAccessControl* q;
    CDatabase database;
    mutable ItemStore items;
    mutable RelationStore relations;
    QString error;
    QStringList transactions;
    ChangeLog log;
    IModelRecorder* recorder = nullptr;
    ChangeImages images;
    /// Of logins, and of properties that all items have lost.
    QVector<CModelChange> furtherChanges;
    bool areLoginsChanged = false;
    QString server;
    int sessionLength = 3600;
    CItemId loggedIn;
    /// The login by which a user's password was found right last.
    QHash<qint64, QString> checkedLogins;
    IModelDevices* devices = nullptr;
    IModelMail* mail = nullptr;
    IReportGenerator* reportGenerator = nullptr;
    QPointer<CNotificationService> notificationService;
};
