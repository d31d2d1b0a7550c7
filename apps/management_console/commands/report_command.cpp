#include "common/report_loader.h"
#include "shell/command.h"

#include <foundation/datatypes/data_type.h>
#include <foundation/services/report_generator.h>
#include <server/model/sql_access_control.h>

#include <QtCore/QPointer>
#include <QtCore/QSet>
#include <QtCore/QTimer>

#include <algorithm>

namespace {

constexpr qint64 longestTemplate = qint64(16) * 1024 * 1024;

class ReportCommand : public Command
{
public:
    using Command::Command;

    void addOptions(AppOptions& options) override
    {
        options.addValue(QStringLiteral("users"), QStringLiteral("ID,..."),
                         QStringLiteral("ids of users, separated by commas, or all"), QStringLiteral("all"));
        options.addValue(QStringLiteral("pdf"), QStringLiteral("FILE"), QStringLiteral("PDF file to write"));
        options.addValue(QStringLiteral("template"), QStringLiteral("FILE"),
                         QStringLiteral("HTML template with placeholders (default: the built-in one)"));
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
        const QString unknown = findUsers(users);
        if (!unknown.isNull())
            options.setError(QStringLiteral("--users: there is no user \"%1\"").arg(unknown));
        if (!options.error().isEmpty())
            return;

        QString error;
        m_generator = loadReportGenerator(error);
        if (!m_generator)
            return fail(error);
        m_generator->initialize(QStringLiteral("kyr_console"), m_model);
        const QString templateFile = options.value(QStringLiteral("template"));
        if (templateFile.isEmpty())
            return render(QString());
        readFile(templateFile, longestTemplate, [this](const QByteArray& bytes) { render(QString::fromUtf8(bytes)); });
    }

    void cancel() override
    {
        delete m_job;
        Command::cancel();
    }

private:
    void render(const QString& reportTemplate)
    {
        m_generator->setReportTemplate(reportTemplate);
        output().progress(QStringLiteral("rendering %1 users").arg(m_users.size()));
        auto* jobs = qobject_cast<IReportJobs*>(dynamic_cast<QObject*>(m_generator));
        if (!jobs) {
            // After the user has seen that.
            QTimer::singleShot(0, this, [this] {
                QByteArray pdf;
                const bool made = m_generator->getUserReportAsPdf(m_users, &pdf) && !pdf.isEmpty();
                save(pdf, made ? QString() : QStringLiteral("(see: log)"));
            });
            return;
        }
        m_job = jobs->startUserReportAsPdf(
            m_users, this,
            [this](int done, int total) {
                output().progress(QStringLiteral("rendered %1 of %2 users").arg(done).arg(total));
            },
            [this](const QByteArray& pdf, const QString& error) { save(pdf, error); });
    }

    // Fills the list of users; gives the first id that is none, empty if all are.
    QString findUsers(const QString& text)
    {
        const QVariantList known = m_model->getModel(
            QStringLiteral("UsersGroups"), {{QStringLiteral("class"), int(UserClassUser)}}, {QStringLiteral("id")});
        const bool all = text == QLatin1String("all");
        QStringList wanted = all ? QStringList() : text.split(QLatin1Char(','));
        for (QString& id : wanted)
            id = id.trimmed();
        QSet<QString> missing(wanted.cbegin(), wanted.cend());
        for (const QVariant& user : known) {
            const QString id = user.toMap().value(QStringLiteral("id")).toString();
            if (missing.remove(id) || all)
                m_users.append(CItemId(id.toLongLong()));
        }
        const auto unknown =
            std::find_if(wanted.cbegin(), wanted.cend(), [&](const QString& id) { return missing.contains(id); });
        return unknown != wanted.cend() ? *unknown : m_users.isEmpty() ? text : QString();
    }

    void save(const QByteArray& pdf, const QString& error)
    {
        if (!error.isEmpty())
            return fail(QStringLiteral("the report could not be made: %1").arg(error));
        const auto content = [pdf](QIODevice& file) {
            file.write(pdf);
            return QString();
        };
        writeFile(m_file, content, [this] {
            doneWriting(m_file,
                        QStringLiteral("Wrote a report of %1 %2 to %3.")
                            .arg(m_users.size())
                            .arg(m_users.size() == 1 ? QStringLiteral("user") : QStringLiteral("users"), m_file),
                        {{QStringLiteral("users"), int(m_users.size())}});
        });
    }

    IReportGenerator* m_generator = nullptr; // the plugin's, which stays loaded
    CSqlAccessControl* m_model = nullptr;
    QList<CItemId> m_users;
    QString m_file;
    QPointer<QObject> m_job; // deletes itself at its end
};

} // namespace

extern const CommandEntry reportCommand = {"report", "Writes a report of users as PDF.", &makeCommand<ReportCommand>};
