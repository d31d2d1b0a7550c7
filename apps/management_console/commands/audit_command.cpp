#include "commands/model_command.h"

#include <server/audit/audit_trail.h>

#include <QtCore/QBuffer>
#include <QtCore/QDateTime>
#include <QtCore/QJsonArray>

#include <memory>

namespace {

// Heads are signed each thousand events: these are those of many years.
constexpr qint64 longestHeadFile = qint64(64) * 1024 * 1024;

class AuditCommand : public ModelCommand
{
public:
    using ModelCommand::ModelCommand;

    const std::vector<Verb>& verbs() const override
    {
        static const std::vector<Verb> table = {
            {"verify", "", "checks whether the audit trail was changed; exit code 1 if it was",
             &startVerb<&AuditCommand::readKeptHeads>, &addVerifyOptions},
            {"head", "", "signs the current end of the trail (a head); keep it on another machine",
             &startVerb<&AuditCommand::head>, &addHeadOptions},
            {"key", "", "prints the public key for checking heads", &startVerb<&AuditCommand::key>},
            {"export", "", "exports all events to FILE, and the heads to FILE.heads",
             &startVerb<&AuditCommand::exportTrail>, &addExportOptions},
            {"retain", "", "removes events older than a period", &startVerb<&AuditCommand::retain>, &addRetainOptions},
            {"erase", "USER", "erases the contents of all events of a user; the trail stays intact",
             &startVerb<&AuditCommand::erase>},
        };
        return table;
    }

private:
    static void addVerifyOptions(AppOptions& options)
    {
        options.addValue(QStringLiteral("head"), QStringLiteral("FILE"),
                         QStringLiteral("heads kept on another machine; only they reveal a cut or rewritten end"));
    }
    static void addHeadOptions(AppOptions& options)
    {
        options.addValue(QStringLiteral("out"), QStringLiteral("FILE"), QStringLiteral("write the head to a file"));
    }
    static void addExportOptions(AppOptions& options)
    {
        options.addValue(QStringLiteral("jsonl"), QStringLiteral("FILE"),
                         QStringLiteral("as JSON, one event per line"));
        options.addValue(QStringLiteral("csv"), QStringLiteral("FILE"), QStringLiteral("as CSV"));
    }
    static void addRetainOptions(AppOptions& options)
    {
        options.addValue(QStringLiteral("days"), QStringLiteral("N"),
                         QStringLiteral("the period: 7, 30, 62, 184, 366, 731, 1827, 3653, 5479 or 10958"),
                         QString::number(DataRetainPeriod2Years));
    }

    CAuditTrail* trail()
    {
        QString error;
        CAuditTrail* found = session().trail(error);
        if (!found)
            fail(error);
        return found;
    }

    void readKeptHeads(AppOptions& options)
    {
        const QString name = options.value(QStringLiteral("head"));
        if (!options.isSet(QStringLiteral("head")))
            return verify({});
        readFile(name, longestHeadFile, [this, name](const QByteArray& bytes) {
            QList<AuditHead> kept;
            const QList<QByteArray> lines = bytes.split('\n');
            for (const QByteArray& line : lines) {
                AuditHead head;
                if (line.trimmed().isEmpty())
                    continue;
                if (!AuditHead::fromLine(line.trimmed(), head))
                    return fail(QStringLiteral("\"%1\" contains a line that is not a head").arg(name));
                kept.append(head);
            }
            if (kept.isEmpty())
                return fail(QStringLiteral("\"%1\" contains no head").arg(name));
            verify(kept);
        });
    }

    void verify(const QList<AuditHead>& kept)
    {
        CAuditTrail* found = trail();
        if (!found)
            return;
        const CAuditTrail::Report report = found->verify(
            kept, [this](qint64 events) { output().progress(QStringLiteral("read %1 events").arg(events)); });
        if (isJson()) {
            QJsonArray faults;
            for (const CAuditTrail::Fault& fault : report.faults) {
                faults.append(QJsonObject{{QStringLiteral("chain"), fault.chain},
                                          {QStringLiteral("seq"), fault.seq},
                                          {QStringLiteral("what"), fault.what}});
            }
            const QJsonObject object{{QStringLiteral("ok"), report.ok()},
                                     {QStringLiteral("events"), report.events},
                                     {QStringLiteral("faults"), faults},
                                     {QStringLiteral("moreFaults"), report.moreFaults}};
            say(QString(), object);
            return done(report.ok() ? 0 : 1);
        }
        for (const CAuditTrail::Fault& fault : report.faults)
            output().line(
                QStringLiteral("FAULT  chain %1, event %2: %3").arg(fault.chain).arg(fault.seq).arg(fault.what));
        if (report.moreFaults > 0)
            output().line(QStringLiteral("and %1 more faults").arg(report.moreFaults));
        if (report.ok())
            output().line(QStringLiteral("The trail is intact: %1 events.").arg(report.events));
        done(report.ok() ? 0 : 1);
    }

    void head(AppOptions& options)
    {
        CAuditTrail* found = trail();
        if (!found)
            return;
        const QList<AuditHead> heads = found->signHeads(QStringLiteral("request"));
        if (heads.isEmpty())
            return fail(found->errorString().isEmpty() ? QStringLiteral("no event has been recorded yet")
                                                       : found->errorString());
        const QString name = options.value(QStringLiteral("out"));
        if (name.isEmpty()) {
            QStringList lines;
            for (const AuditHead& one : heads)
                lines.append(QString::fromLatin1(one.toLine()));
            // Each is a JSON object already.
            output().lines(isJson() ? QStringList(QLatin1Char('[') + lines.join(QLatin1Char(',')) + QLatin1Char(']'))
                                    : lines);
            return done();
        }
        const auto content = [heads](QIODevice& file) {
            for (const AuditHead& one : heads)
                file.write(one.toLine() + '\n');
            return QString();
        };
        writeFile(name, content, [this, name, count = int(heads.size())] {
            doneWriting(name, QStringLiteral("Wrote %1 heads to %2.").arg(count).arg(name),
                        {{QStringLiteral("heads"), count}});
        });
    }

    void key(AppOptions&)
    {
        CAuditTrail* found = trail();
        if (!found)
            return;
        const QByteArray pem = found->publicKey();
        if (pem.isEmpty())
            return fail(found->errorString());
        const QString key = QString::fromLatin1(pem.trimmed());
        say(key, {{QStringLiteral("publicKey"), key}});
        done();
    }

    void exportTrail(AppOptions& options)
    {
        const bool isJsonLines = options.isSet(QStringLiteral("jsonl"));
        if (isJsonLines == options.isSet(QStringLiteral("csv")))
            return options.setError(QStringLiteral("either --jsonl FILE or --csv FILE is needed"));
        CAuditTrail* found = trail();
        if (!found)
            return;
        const QString name = options.value(isJsonLines ? QStringLiteral("jsonl") : QStringLiteral("csv"));
        const auto heads = std::make_shared<QBuffer>();
        heads->open(QIODevice::WriteOnly);
        const auto content = [found, heads, isJsonLines](QIODevice& file) {
            const bool isGood = isJsonLines ? found->exportJsonLines(file, *heads) : found->exportCsv(file, *heads);
            return isGood ? QString() : found->errorString();
        };
        writeFile(name, content, [this, name, heads] {
            // Into a pipe goes the trail alone.
            if (name == QLatin1String("-"))
                return done();
            const auto headLines = [heads](QIODevice& file) {
                file.write(heads->data());
                return QString();
            };
            writeFile(name + QStringLiteral(".heads"), headLines, [this, name] {
                doneWriting(name, QStringLiteral("Wrote the trail to %1, its heads to %1.heads.").arg(name),
                            {{QStringLiteral("heads"), QString(name + QStringLiteral(".heads"))}});
            });
        });
    }

    void retain(AppOptions& options)
    {
        const int days = options.number(QStringLiteral("days"), 1, 100000);
        if (!options.error().isEmpty())
            return;
        if (!CDataType::dataRetainPeriodValues().contains(CDataRetainPeriod(days)))
            return options.setError(QStringLiteral("--days takes one of the periods that \"help audit\" lists"));
        CAuditTrail* found = trail();
        if (!found)
            return;
        const qint64 removed = found->retain(CDataRetainPeriod(days), QDateTime::currentMSecsSinceEpoch());
        if (removed < 0)
            return fail(found->errorString());
        say(QStringLiteral("Removed %1 events.").arg(removed), {{QStringLiteral("removed"), removed}});
        done();
    }

    void erase(AppOptions& options)
    {
        CAuditTrail* found = trail();
        if (!found)
            return;
        // By its id also one that is gone: what is left of it stands in the trail alone.
        bool isNumber = false;
        CItemId user = CItemId(options.positional().constFirst().toLongLong(&isNumber));
        if (!isNumber && !find(Named::User, options.positional().constFirst(), user))
            return;
        const qint64 erased = found->erase(user);
        if (erased < 0)
            return fail(found->errorString());
        say(QStringLiteral("Erased %1 events.").arg(erased), {{QStringLiteral("erased"), erased}});
        done();
    }
};

} // namespace

extern const CommandEntry auditCommand = {"audit", "Checks, signs and exports the audit trail.",
                                          &makeCommand<AuditCommand>};
