#include "common/report_loader.h"
#include "common/save_file.h"
#include "shell/command.h"

#include <foundation/datatypes/data_type.h>
#include <foundation/services/report_generator.h>
#include <foundation/services/simple_access_control.h>

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
        m_model = model();
        if (!m_model)
            return;
        if (m_file.isEmpty())
            options.setError(QStringLiteral("--pdf is needed"));
        if (!findUsers(users))
            options.setError(QStringLiteral("--users \"%1\": there is no such user").arg(users));
        if (!options.error().isEmpty())
            return;

        QString error;
        m_generator = loadReportGenerator(error);
        if (!m_generator)
            return fail(error);
        m_generator->initialize(QStringLiteral("kyr_console"), m_model);
        const QString templateFile = options.value(QStringLiteral("template"));
        if (!templateFile.isEmpty()) {
            QFile file(templateFile);
            if (!file.open(QIODevice::ReadOnly))
                return fail(QStringLiteral("cannot read \"%1\": %2").arg(templateFile, file.errorString()));
            m_generator->setReportTemplate(QString::fromUtf8(file.readAll()));
        } else {
            m_generator->setReportTemplate(QString());
        }
        output().progress(QStringLiteral("rendering %1 users").arg(m_users.size()));
        // After the user has seen that.
        QTimer::singleShot(0, this, [this] { render(); });
    }

private:
    bool findUsers(const QString& text)
    {
        const QVariantList known = m_model->getModel(QStringLiteral("UsersGroups"), {}, {});
        const QStringList wanted = text.split(QLatin1Char(','));
        int found = 0;
        for (const QVariant& item : known) {
            const QVariantMap user = item.toMap();
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
        output().line(QStringLiteral("Wrote a report of %1 users to %2.").arg(m_users.size()).arg(m_file));
        done();
    }

    IReportGenerator* m_generator = nullptr; // the plugin's, which stays loaded
    ISimpleAccessControl* m_model = nullptr;
    QList<CItemId> m_users;
    QString m_file;
};

} // namespace

extern const CommandEntry reportCommand = {"report", "Makes a report of users as PDF.", &makeCommand<ReportCommand>};
