#include "commands/commands.h"
#include "common/report_loader.h"
#include "common/save_file.h"
#include "shell/command.h"

#include <foundation/datatypes/data_type.h>
#include <foundation/services/access_control_mock.h>
#include <foundation/services/report_generator.h>

#include <QtCore/QFile>
#include <QtCore/QTimer>

namespace {

class ReportCommand : public Command
{
public:
    using Command::Command;

    void addOptions(AppOptions& options) override
    {
        options.addValue(QStringLiteral("users"), QStringLiteral("ID,..."),
                         QStringLiteral("users of the demonstration installation, separated by commas, or all"),
                         QStringLiteral("all"));
        options.addValue(QStringLiteral("pdf"), QStringLiteral("FILE"), QStringLiteral("where the report goes"));
        options.addValue(QStringLiteral("template"), QStringLiteral("FILE"),
                         QStringLiteral("HTML with placeholders, instead of the built-in one"));
    }

    void start(AppOptions& options) override
    {
        m_file = options.value(QStringLiteral("pdf"));
        const QString users = options.value(QStringLiteral("users"));
        if (m_file.isEmpty())
            options.setError(QStringLiteral("--pdf is needed"));
        if (!options.positional().isEmpty())
            options.setError(QStringLiteral("unexpected argument \"%1\"").arg(options.positional().constFirst()));
        if (!findUsers(users))
            options.setError(QStringLiteral("--users \"%1\": there is no such user").arg(users));
        if (!options.error().isEmpty())
            return;

        QString error;
        m_generator = loadReportGenerator(error);
        if (!m_generator)
            return fail(error);
        m_generator->initialize(QStringLiteral("kyr_console"), &session().model());
        const QString templateFile = options.value(QStringLiteral("template"));
        if (!templateFile.isEmpty()) {
            QFile file(templateFile);
            if (!file.open(QIODevice::ReadOnly))
                return fail(QStringLiteral("cannot read \"%1\": %2").arg(templateFile, file.errorString()));
            m_generator->setReportTemplate(QString::fromUtf8(file.readAll()));
        } else {
            m_generator->setReportTemplate(QString());
        }
        session().progress(QStringLiteral("rendering %1 users").arg(m_users.size()));
        // After the user has seen that.
        QTimer::singleShot(0, this, [this] { render(); });
    }

private:
    bool findUsers(const QString& text)
    {
        const QList<QVariantMap> known = session().model().getMockObjectsForName(QStringLiteral("UsersGroups"));
        const QStringList wanted = text.split(QLatin1Char(','));
        int found = 0;
        for (const QVariantMap& user : known) {
            const QString id = user.value(QStringLiteral("id")).toString();
            const bool isUser = user.value(QStringLiteral("class")).toInt() == UserClassUser;
            if (!isUser || (text != QLatin1String("all") && !wanted.contains(id)))
                continue;
            m_users.append(CItemId(id.toLongLong()));
            ++found;
        }
        return found > 0 && (text == QLatin1String("all") || found == wanted.size());
    }

    void render()
    {
        QByteArray pdf;
        if (!m_generator->getUserReportAsPdf(m_users, &pdf) || pdf.isEmpty())
            return fail(QStringLiteral("the report could not be made (see: log)"));
        QString error;
        if (!saveFile(
                m_file, [&pdf](QIODevice& file) { file.write(pdf); }, error))
            return fail(error);
        session().line(QStringLiteral("Wrote a report of %1 users to %2.").arg(m_users.size()).arg(m_file));
        done();
    }

    IReportGenerator* m_generator = nullptr; // the plugin's, which stays loaded
    QList<CItemId> m_users;
    QString m_file;
};

} // namespace

Command* createReportCommand(Session& session)
{
    return new ReportCommand(session);
}
