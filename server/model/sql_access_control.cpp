// Opening, and the frame around each change: the transaction, the recorder, and who is told of it.
#include <foundation/core/random.h>
#include <foundation/services/access_control_mock.h>
#include <server/model/login_store_p.h>
#include <server/model/sql_access_control_p.h>

using namespace Model;

// --- The frame around a change

bool CSqlAccessControl::Private::refuse(const QString& reason)
{
    if (error.isEmpty())
        error = reason;
    return false;
}

bool CSqlAccessControl::Private::refuseUnknown(Kind kind, int itemClass, qint64 id)
{
    return refuse(QStringLiteral("there is no %1 %2").arg(wordOf(kind, itemClass).toLower()).arg(id));
}

bool CSqlAccessControl::Private::beginChange()
{
    if (database.depth() == 0) {
        error.clear();
        items.forget();
    }
    return database.begin() || refuse(database.depth() > 1 ? error : database.errorString());
}

bool CSqlAccessControl::Private::endChange(bool good)
{
    const bool isOutermost = database.depth() == 1;
    if (!good && error.isEmpty())
        refuse(database.hasFailed() ? database.errorString() : QStringLiteral("the change was refused"));
    if (isOutermost && good && !database.hasFailed())
        good = tellRecorder();
    if (isOutermost && good && !database.hasFailed())
        good = log.write(server);
    const bool done = database.end(good);
    if (!isOutermost)
        return done;
    items.forget();
    const bool told = std::exchange(areLoginsChanged, false);
    log.forgetNoted();
    images.clear();
    furtherChanges.clear();
    if (!done) {
        if (error.isEmpty())
            error = database.errorString();
        return false;
    }
    QPointer<CSqlAccessControl> guard(q);
    announce();
    if (guard && told)
        Q_EMIT guard->loginsChanged();
    return true;
}

void CSqlAccessControl::Private::record(Kind kind, qint64 id, Change what)
{
    log.note(kind, id, what);
}

void CSqlAccessControl::Private::touch(Kind kind, qint64 id)
{
    if (recorder)
        images.keep(items, kind, id);
}

void CSqlAccessControl::Private::noteLogin(const QString& name, const QString& what)
{
    if (recorder) {
        const CItemId owner(LoginStore(&database).find(name).user);
        furtherChanges.append({QStringLiteral("Logins"), {}, what, name, {}, {}, owner});
    }
}

bool CSqlAccessControl::Private::tellRecorder()
{
    if (!recorder)
        return true;
    const QVector<CModelChange> all = images.differences(items, log.noted()) + furtherChanges;
    return all.isEmpty() || recorder->record(all, loggedIn)
           || refuse(QStringLiteral("the change could not be recorded: ") + database.errorString());
}

void CSqlAccessControl::Private::announce()
{
    const ChangeLog::News news = log.takeNews();
    if (!news.data.isEmpty())
        Q_EMIT q->notify(QStringLiteral("Model"),
                         {{QStringLiteral("event"), QStringLiteral("changed")},
                          {QStringLiteral("data"), news.data},
                          {QStringLiteral("seq"), news.seq}},
                         QString());
}

// --- Changes as one

bool CSqlAccessControl::changeAll(const std::function<bool()>& work)
{
    return d->change(work);
}

void CSqlAccessControl::beginTransaction(const QString& name)
{
    d->transactions.append(name);
    d->beginChange();
}

void CSqlAccessControl::endTransaction()
{
    if (d->transactions.isEmpty()) {
        qWarning("SqlAccessControl: end of a transaction that was not begun");
        return;
    }
    const QString name = d->transactions.takeLast();
    const bool isOutermost = d->database.depth() == 1;
    QPointer<CSqlAccessControl> guard(this);
    if (d->endChange(!d->database.hasFailed()) || !isOutermost || !guard)
        return;
    qWarning("SqlAccessControl: transaction %s was undone: %s", qUtf8Printable(name), qUtf8Printable(d->error));
    Q_EMIT transactionFailed(name, d->error);
}

// --- Opening

CSqlAccessControl::CSqlAccessControl(QObject* parent)
    : ISimpleAccessControl(parent)
    , d(std::make_unique<Private>(this))
{
    d->server = QString::fromLatin1(CRandom::getArray(4).toHex());
    connect(&d->database, &CDatabase::changedByOthers, this, [this] { d->announce(); });
}

CSqlAccessControl::~CSqlAccessControl() = default;

bool CSqlAccessControl::open(const QString& location)
{
    d->error.clear();
    d->transactions.clear();
    d->log.forgetNoted();
    if (!d->database.open(location))
        return d->refuse(d->database.errorString());
    if (d->database.backend() == QLatin1String("memory")) {
        const CAccessControlMock demonstration;
        QMap<QString, QVariantList> collections;
        for (const Kind kind : kinds()) {
            const auto found = demonstration.getMockObjectsForName(nameOf(kind));
            for (const QVariantMap& item : found)
                collections[nameOf(kind)].append(item);
        }
        if (!d->change([&] { return d->import(collections); }))
            return false;
    }
    d->log.skip();
    return true;
}

void CSqlAccessControl::setServerName(const QString& name)
{
    d->server = name;
}

void CSqlAccessControl::setRecorder(IModelRecorder* recorder)
{
    d->recorder = recorder;
}

CDatabase* CSqlAccessControl::database() const
{
    return &d->database;
}

QString CSqlAccessControl::errorString() const
{
    return d->error;
}
