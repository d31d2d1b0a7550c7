#include "commands/events_report.h"
#include "commands/model_command.h"
#include "commands/time_text.h"
#include "shell/table_watch.h"

#include <server/api/event_rows.h>
#include <server/audit/audit_trail.h>
#include <server/model/sql_access_control.h>

#include <QtCore/QPointer>
#include <QtCore/QSize>
#include <QtCore/QTimer>

namespace {

// Between two looks for new events while they are followed; ms.
constexpr int followInterval = 200;
// What is shown of the past when the future is followed.
constexpr int followedTail = 10;

class EventsCommand : public ModelCommand
{
public:
    using ModelCommand::ModelCommand;

    void addOptions(AppOptions& options) override
    {
        options.addValue(QStringLiteral("door"), QStringLiteral("DOOR"), QStringLiteral("only events at this door"));
        options.addValue(QStringLiteral("user"), QStringLiteral("USER"), QStringLiteral("only events of this user"));
        options.addSwitch(QStringLiteral("denied"), QStringLiteral("only denied access at doors"));
        options.addValue(QStringLiteral("kind"), QStringLiteral("KIND"),
                         QStringLiteral("only events of this kind, such as granted or changed; may be repeated"));
        options.addValue(QStringLiteral("from"), QStringLiteral("TIME"),
                         QStringLiteral("only events from this time on"));
        options.addValue(QStringLiteral("to"), QStringLiteral("TIME"), QStringLiteral("only events up to this time"));
        options.addValue(QStringLiteral("limit"), QStringLiteral("N"), QStringLiteral("show only the newest N events"));
        options.addValue(QStringLiteral("pdf"), QStringLiteral("FILE"),
                         QStringLiteral("write the events to a PDF document"));
        options.addSwitch(QStringLiteral("follow"),
                          QStringLiteral("show the newest events, then each new one, until Ctrl+C"));
        TableOptions::add(options);
    }

    void start(AppOptions& options) override
    {
        QString error;
        CAuditTrail* trail = session().trail(error);
        if (!trail)
            return fail(error);
        CAuditTrail::Filter filter;
        if (!readFilter(options, filter))
            return;
        const bool follows = options.isSet(QStringLiteral("follow"));
        int limit = follows ? followedTail : 0;
        if (options.isSet(QStringLiteral("limit")))
            limit = options.number(QStringLiteral("limit"), 1, 1000000);
        const QString pdf = options.value(QStringLiteral("pdf"));
        if (follows && !pdf.isEmpty())
            options.setError(QStringLiteral("--pdf and --follow cannot be used together"));
        if (!options.error().isEmpty())
            return;

        m_ends = trail->ends();
        qint64 left = 0;
        const QList<AuditRecord> events = trail->events(filter, limit, &left);
        if (follows) {
            if (!tableOptions().csvFile().isNull())
                return options.setError(QStringLiteral("--follow and --csv cannot be used together"));
            m_filter = filter;
            m_redraws = !isJson() && output().rows() > 0;
            show(events);
            if (m_isOver)
                return;
            auto* timer = new QTimer(this);
            connect(timer, &QTimer::timeout, this, &EventsCommand::showNew);
            connect(trail, &CAuditTrail::appended, timer, [timer] { timer->start(0); });
            timer->start(followInterval);
            return;
        }
        Table table = emptyTable();
        fillTable(table, events);
        if (!pdf.isEmpty())
            return makePdf(table, pdf, int(left));
        print(table);
        if (left > 0)
            warn(QStringLiteral("%1 older events are left out").arg(left));
        done();
    }

    void cancel() override
    {
        delete m_report;
        if (m_redraws)
            output().redraw({});
        done();
    }

private:
    static Table emptyTable()
    {
        const auto column = [](const char* key, const char* title = "") {
            return Table::Column{QString::fromLatin1(key), QString::fromLatin1(title)};
        };
        return Table({column("chain"),
                      column("seq"),
                      column("at", "Time"),
                      column("recorded"),
                      column("kind", "Event"),
                      column("accessPoint"),
                      column("door", "Door"),
                      column("user"),
                      column("name", "User"),
                      column("reason", "Reason"),
                      column("what", "What"),
                      column("medium"),
                      column("credential", "Credential"),
                      column("serverReason", "Server says"),
                      column("way", "Way"),
                      column("uid", "UID"),
                      column("operator", "Operator"),
                      column("device", "Device"),
                      column("deviceSeq"),
                      column("details")});
    }

    bool readFilter(AppOptions& options, CAuditTrail::Filter& filter)
    {
        const auto time = [&options](const QString& name, CAccessTimeZone::DayEdge edge, qint64 end) {
            if (!options.isSet(name))
                return qint64(0);
            const auto instant = TimeText::consoleZone().instantFromText(options.value(name), edge);
            if (!instant)
                options.setError(TimeText::mistake(QStringLiteral("--") + name, options.value(name)));
            return instant ? *instant * 1000 + end : qint64(0);
        };
        filter.from = time(QStringLiteral("from"), CAccessTimeZone::DayEdge::Begin, 0);
        filter.to = time(QStringLiteral("to"), CAccessTimeZone::DayEdge::End, 999);
        if (options.isSet(QStringLiteral("denied")))
            filter.kinds.append(AuditKind::Denied);
        const QStringList kinds = options.values(QStringLiteral("kind"));
        for (const QString& name : kinds) {
            const auto kind = auditKindFromName(name);
            if (!kind)
                options.setError(QStringLiteral("there is no kind of event \"%1\"").arg(name));
            else
                filter.kinds.append(*kind);
        }
        if (!options.error().isEmpty())
            return false;
        return findPast(options, QStringLiteral("door"), Named::Door, filter.accessPoint)
               && findPast(options, QStringLiteral("user"), Named::User, filter.user);
    }

    // By its id also one that is gone: its events are not.
    bool findPast(AppOptions& options, const QString& option, Named kind, CItemId& id)
    {
        if (!options.isSet(option))
            return true;
        CSqlAccessControl* installation = model();
        if (!installation)
            return false;
        const QString name = options.value(option);
        bool isNumber = false;
        const CItemId number = name.toLongLong(&isNumber);
        ItemNames names(installation);
        id = names.find(kind, name);
        if (id == CItemId() && isNumber && !names.isAmbiguous() && number > CItemId())
            id = number;
        return id != CItemId() || find(kind, name, id);
    }

    void fillTable(Table& table, const QList<AuditRecord>& events)
    {
        QString error;
        CSqlAccessControl* model = session().model(error);
        if (!model)
            return;
        const QList<QVariantMap> rows = EventRows::make(model, session().trail(error), events);
        for (const QVariantMap& row : rows)
            table.addRowOf(row);
    }

    void makePdf(const Table& table, const QString& file, int left)
    {
        output().progress(QStringLiteral("rendering %1 events").arg(table.rowCount()));
        m_report = startEventsReport(table, left, this);
        connect(m_report, &ReportHelperRun::finished, this,
                [this, file, count = table.rowCount()](const QByteArray& pdf, const QString& error) {
                    if (!error.isEmpty())
                        return fail(QStringLiteral("the report could not be made: %1").arg(error));
                    const auto content = [pdf](QIODevice& device) {
                        device.write(pdf);
                        return QString();
                    };
                    writeFile(file, content, [this, file, count] {
                        doneWriting(file, QStringLiteral("Wrote %1 events to %2.").arg(count).arg(file),
                                    {{QStringLiteral("events"), count}});
                    });
                });
    }

    // On a terminal the newest ones that it has room for, as a table; else one event a line, also as text: nobody knows
    // how wide the next one is.
    void show(const QList<AuditRecord>& events)
    {
        const QSize size(output().columns(), output().rows());
        if (events.isEmpty() && !m_newest.isEmpty() && (!m_redraws || size == m_shownSize))
            return;
        m_shownSize = size;
        m_newest = m_redraws ? m_newest + events : events;
        while (m_redraws && m_newest.size() > qMax(followedTail, output().rows()))
            m_newest.removeFirst();
        Table table = emptyTable();
        fillTable(table, m_newest);
        QString mistake;
        if (!tableOptions().apply(table, mistake)) {
            m_isOver = true;
            return misuse(mistake);
        }
        if (m_redraws)
            return output().redraw(
                fitting(table.toText(output().colour(), output().columns() - 1), output().rows(), true));
        const QStringList json = isJson() ? table.toJsonLines() : QStringList();
        for (int row = 0; row < table.rowCount(); ++row)
            output().line(isJson() ? json.at(row) : rowAsLine(table, row));
    }

    void showNew()
    {
        auto* timer = qobject_cast<QTimer*>(sender());
        if (timer)
            timer->start(followInterval);
        QString error;
        if (CAuditTrail* trail = session().trail(error))
            show(trail->newEvents(m_filter, &m_ends));
    }

    CAuditTrail::Filter m_filter;
    QPointer<ReportHelperRun> m_report;
    QMap<qint64, qint64> m_ends;
    QList<AuditRecord> m_newest; // that are shown on a terminal
    QSize m_shownSize;           // of that terminal
    bool m_redraws = false;
    bool m_isOver = false;
};

} // namespace

extern const CommandEntry eventsCommand = {"events", "Shows what happened at doors and to the installation.",
                                           &makeCommand<EventsCommand>};
