// The system: properties, log, reports, mail and notifications.
#include <foundation/core/foundation_translator.h>
#include <foundation/core/string_utils.h>
#include <foundation/datatypes/data_type.h>
#include <foundation/mail/mail_message.h>
#include <foundation/services/notification_service.h>
#include <foundation/services/report_generator.h>
#include <server/database/sql_statement_p.h>
#include <server/model/login_store_p.h>
#include <server/model/model_mail.h>
#include <server/model/sql_access_control_p.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QMessageAuthenticationCode>
#include <QtCore/QTimer>

using namespace Model;

namespace {

// Lines of the log that are kept, and that are read at once.
constexpr int keptLogLines = 100000;
constexpr int readLogLines = 1000;
constexpr int longestLogText = 2000;
// How long an extension may take to answer.
constexpr int customAnswerWait = 30000;

const QString systemNameKey = QStringLiteral("systemName");
const QString systemIdKey = QStringLiteral("systemid");

QVariantMap answer(const char* status, const QString& error)
{
    QVariantMap map{{QStringLiteral("status"), QString::fromLatin1(status)}};
    if (!error.isEmpty())
        map.insert(QStringLiteral("error"), error);
    return map;
}

} // namespace

// --- Properties of the system

qint64 CSqlAccessControl::Private::systemItem(CItemId id) const
{
    if (id != CItemId())
        return items.exists(KindSystem, anyClass, id.value()) ? id.value() : 0;
    ItemQuery query;
    query.kind = KindSystem;
    query.limit = 1;
    return items.find(query).value(0);
}

QVariant CSqlAccessControl::getSystemProperty(const QString& name, CItemId id) const
{
    const qint64 system = d->systemItem(id);
    return system != 0 ? d->items.property(KindSystem, anyClass, name, system) : QVariant();
}

bool CSqlAccessControl::setSystemProperty(const QString& name, const QVariant& value, CItemId id)
{
    return d->change([&] {
        qint64 system = d->systemItem(id);
        if (system == 0 && id == CItemId())
            system = d->create(KindSystem, 0, {});
        return d->set(KindSystem, anyClass, name, value, system);
    });
}

bool CSqlAccessControl::deleteSystemProperty(const QString& name)
{
    return d->change([&] { return d->eraseProperty(KindSystem, anyClass, name); });
}

QVariantMap CSqlAccessControl::getSystemInfo()
{
    const QVariant id = getSystemProperty(systemIdKey, {});
    return {{systemNameKey, getSystemProperty(systemNameKey, {}).toString()},
            {systemIdKey, id.isValid() ? id.toString() : QStringLiteral("0000.0000")},
            {QStringLiteral("unlockIndex"), 0},
            {QStringLiteral("systemType"), 3},
            {QStringLiteral("softwareVersion"), QStringLiteral(KYR_VERSION)}};
}

bool CSqlAccessControl::setSystemName(const QString& name)
{
    return setSystemProperty(systemNameKey, name, {});
}

QVariantMap CSqlAccessControl::getSystemInfoOfLoggedInUser()
{
    if (d->loggedIn == CItemId())
        return {};
    QVariantMap info = getSystemInfo();
    info.insert(userIdKey, d->loggedIn.value());
    info.insert(labelKey, getUserProperty(labelKey, d->loggedIn));
    info.insert(QStringLiteral("permissions"), LoginStore(&d->database).permissionsOf(d->loggedIn.value()));
    return info;
}

bool CSqlAccessControl::setNotifications(const QStringList& names)
{
    return setSystemProperty(QStringLiteral("notifications"), names, {});
}

QString CSqlAccessControl::getAbsolutePath(const QString& path)
{
    const QString folder = d->database.folder();
    return folder.isEmpty() ? QString() : QDir::cleanPath(QDir(folder).absoluteFilePath(path));
}

QByteArray CSqlAccessControl::getSystemHashOfData(const QByteArray& data, int algorithm) const
{
    // The weak ones are not offered.
    if (algorithm < QCryptographicHash::Sha256 || algorithm > QCryptographicHash::Sha512)
        return {};
    SqlStatement statement(&d->database, QStringLiteral("SELECT value FROM secret WHERE name='system hash'"));
    if (!statement.exec() || !statement.next())
        return {};
    return QMessageAuthenticationCode::hash(data, statement.bytes(0), QCryptographicHash::Algorithm(algorithm));
}

QStringList CSqlAccessControl::translate(const QStringList& texts, const QString& context, const QString& language)
{
    CFoundationTranslator translator;
    const bool isKnown = language.isEmpty() || translator.setLanguage(language);
    const QByteArray where = context.isEmpty() ? QByteArrayLiteral("@default") : context.toUtf8();
    QStringList result;
    for (const QString& text : texts) {
        const QByteArray source = text.toUtf8();
        const QString translated = language.isEmpty()
                                       ? QCoreApplication::translate(where.constData(), source.constData())
                                   : isKnown ? translator.translate(where.constData(), source.constData())
                                             : QString();
        result.append(translated.isEmpty() ? text : translated);
    }
    return result;
}

void CSqlAccessControl::quit()
{
    Q_EMIT aboutToQuit();
}

// --- The log

bool CSqlAccessControl::logEvent(const QString& text, const QString& source, int level, int eventClass, CItemId id,
                                 int flags, bool)
{
    return d->change([&] {
        SqlStatement statement(&d->database,
                               QStringLiteral("INSERT INTO system_log(at,text,source,level,class,item,flags) "
                                              "VALUES(?,?,?,?,?,?,?) RETURNING seq"));
        statement.bind(QDateTime::currentSecsSinceEpoch())
            .bind(text.left(longestLogText))
            .bind(source.left(longestLogText))
            .bind(level)
            .bind(eventClass)
            .bind(id.value())
            .bind(flags);
        if (!statement.exec() || !statement.next())
            return false;
        if (statement.integer(0) % 1000 == 0) {
            SqlStatement old(&d->database, QStringLiteral("DELETE FROM system_log WHERE seq<=?"));
            return old.bind(statement.integer(0) - keptLogLines).exec();
        }
        return true;
    });
}

QStringList CSqlAccessControl::getSystemLog()
{
    SqlStatement statement(&d->database, QStringLiteral("SELECT at,text,source,level,class,item,flags FROM system_log "
                                                        "ORDER BY seq DESC LIMIT ?"));
    QStringList lines;
    for (statement.bind(readLogLines).exec(); statement.next();)
        lines.prepend(QStringLiteral("%1 %2 (%3, level %4, class %5, ID %6, flags %7)")
                          .arg(QDateTime::fromSecsSinceEpoch(statement.integer(0), Qt::UTC).toString(Qt::ISODate),
                               CStringUtils::printable(statement.text(1), longestLogText),
                               CStringUtils::printable(statement.text(2), longestLogText))
                          .arg(statement.integer(3))
                          .arg(statement.integer(4))
                          .arg(statement.integer(5))
                          .arg(statement.integer(6)));
    return lines;
}

// --- Reports, mail and notifications

void CSqlAccessControl::setReportGenerator(IReportGenerator* generator)
{
    d->reportGenerator = generator;
}

QStringList CSqlAccessControl::getUserReportTemplateNames()
{
    QStringList names;
    const QStringList properties = getPropertyNames(nameOf(KindSystem));
    const QString prefix = QStringLiteral("Report Template ");
    for (const QString& name : properties) {
        if (name.startsWith(prefix))
            names.append(name.mid(prefix.size()));
    }
    return names;
}

QByteArray CSqlAccessControl::getUserReportAsPdf(const QVariantMap& parameters)
{
    if (d->reportGenerator == nullptr)
        return {};
    const QString name = parameters.value(QStringLiteral("template")).toString();
    const QString text = getSystemProperty(QLatin1String("Report Template ") + name, {}).toString();
    CItemIdList users = toItemIds(toIds(parameters.value(QStringLiteral("userIds"))));
    if (!parameters.contains(QStringLiteral("userIds"))) {
        ItemQuery all;
        all.kind = KindUserOrGroup;
        all.itemClass = UserClassUser;
        users = toItemIds(d->items.find(all));
    }
    d->reportGenerator->initialize(QStringLiteral("server"), this);
    if (!text.isEmpty())
        d->reportGenerator->setReportTemplate(text);
    QByteArray pdf;
    return d->reportGenerator->getUserReportAsPdf(users, &pdf) ? pdf : QByteArray();
}

void CSqlAccessControl::setNotificationService(CNotificationService* service)
{
    d->notificationService = service;
}

CNotificationService* CSqlAccessControl::getNotificationService()
{
    return d->notificationService;
}

void CSqlAccessControl::sendCustomNotification(const QString& name, const QString& id, const QVariantMap& parameters,
                                               MapCallback callback)
{
    if (d->notificationService.isNull()) {
        if (callback)
            callback(answer("error", QStringLiteral("there is no notification service")));
        return;
    }
    // Lives until the answer or its time-out, and not longer than this model.
    auto* pending = new QObject(this);
    const auto finish = [pending, callback](const QVariantMap& result) {
        pending->disconnect();
        pending->deleteLater();
        if (callback)
            callback(result);
    };
    auto* timer = new QTimer(pending);
    timer->setSingleShot(true);
    connect(timer, &QTimer::timeout, pending,
            [=] { finish(answer("error", QStringLiteral("the extension did not answer"))); });
    connect(d->notificationService, &CNotificationService::customNotificationResponseReceived, pending,
            [=](const QString& from, const QString& answered, const QVariant& response) {
                if (from != name || answered != id || !timer->isActive())
                    return;
                timer->stop();
                QVariantMap result = answer("ok", QString());
                result.insert(QStringLiteral("response"), response);
                finish(result);
            });
    timer->start(customAnswerWait);
    d->notificationService->notifyObservers(QStringLiteral("ExtensionManager"),
                                            {{QStringLiteral("event"), QStringLiteral("customNotification")},
                                             {QStringLiteral("id"), id},
                                             {QStringLiteral("data"), parameters}},
                                            name);
}

void CSqlAccessControl::setMail(IModelMail* mail)
{
    d->mail = mail;
}

void CSqlAccessControl::sendTemplateEmail(int, const QStringList& recipients, const QVariantMap& parameters,
                                          MapCallback callback)
{
    CMailMessage message;
    message.setSubject(parameters.value(QStringLiteral("subject")).toString());
    message.setPreheader(parameters.value(QStringLiteral("preheader")).toString());
    message.setText(parameters.value(QStringLiteral("message")).toString());
    QString error;
    if (!d->mail)
        error = QStringLiteral("there is no mail server");
    else if (message.subject().isEmpty())
        error = QStringLiteral("a mail needs a \"subject\"");
    else
        d->mail->queue(message, recipients, error);
    if (callback)
        callback(error.isEmpty() ? answer("ok", QString()) : answer("error", error));
}
