#include "commands/item_command.h"

#include <server/model/sql_access_control.h>

namespace {

const QString calendars = QStringLiteral("HolidayCalendars");
const QString calendarKey = QStringLiteral("calendar");
const QString calendarIdKey = QStringLiteral("calendarId");
const QString dateKey = QStringLiteral("date");

/// What belongs to a calendar, which is called by its name.
class CalendarCommand : public ItemCommand
{
protected:
    using ItemCommand::ItemCommand;

    /// Puts the id in the place of "calendar"; false and told when there is none of that name.
    bool findCalendar(QVariantMap& properties)
    {
        if (!properties.contains(calendarKey))
            return true;
        const QString name = properties.take(calendarKey).toString();
        CItemId calendar;
        if (!name.isEmpty() && !find(Named::Calendar, name, calendar))
            return false;
        properties.insert(calendarIdKey, calendar.value());
        return true;
    }
};

/// Slots of a week, and whose holidays count.
class SchedulesCommand : public CalendarCommand
{
public:
    SchedulesCommand(Session& session, Output& output)
        : CalendarCommand(session, output, Named::Schedule, "TimeProfiles")
    {
    }

    const std::vector<Verb>& verbs() const override
    {
        static const std::vector<Verb> table = {
            {"", "", "shows the schedules", &startVerb<&SchedulesCommand::showAll>, &ListOptions::add},
            {"add", "NAME SLOTS",
             "adds a schedule and prints its id: \"Mon-Fri 07:00-19:00; Sat 08:00-12:00; Holiday closed\"",
             &startVerb<&SchedulesCommand::add>, &addCalendarOption},
            {"set", "SCHEDULE KEY=VALUE...", "changes label=, slots= or calendar= (empty: no holidays)",
             &startVerb<&SchedulesCommand::set>},
            {"remove", "SCHEDULE...", "removes schedules that no right uses", &startVerb<&SchedulesCommand::remove>},
        };
        return table;
    }

private:
    static void addCalendarOption(AppOptions& options)
    {
        options.addValue(calendarKey, QStringLiteral("CALENDAR"),
                         QStringLiteral("calendar whose holidays count (default: no holidays)"));
    }

    void add(AppOptions& options)
    {
        const QStringList words = options.positional();
        QVariantMap properties{{QStringLiteral("label"), words.at(0)}, {QStringLiteral("slots"), words.at(1)}};
        if (words.at(0).trimmed().isEmpty())
            return fail(QStringLiteral("a name must not be empty"));
        CItemId calendar;
        if (options.isSet(calendarKey)) {
            if (!find(Named::Calendar, options.value(calendarKey), calendar))
                return;
            properties.insert(calendarIdKey, calendar.value());
        }
        QStringList made;
        changeNamed(words.at(0), CItemId(), &made, [&](CSqlAccessControl& model) {
            const CItemId id = model.createItem(m_collection, properties);
            made.append(QString::number(id.value()));
            return id != CItemId();
        });
    }

    void set(AppOptions& options)
    {
        const QStringList words = options.positional();
        QVariantMap properties;
        CItemId schedule;
        if (!readProperties(words.mid(1), properties, options) || !find(m_kind, words.constFirst(), schedule)
            || !findCalendar(properties))
            return;
        // Without slots it would never open: that is "slots=" as much as in `add`.
        if (properties.contains(QStringLiteral("slots")) && !properties.value(QStringLiteral("slots")).isValid())
            properties.insert(QStringLiteral("slots"), QString());
        changeNamed(properties.value(QStringLiteral("label")).toString(), schedule, nullptr,
                    [&](CSqlAccessControl& model) { return setProperties(model, properties, schedule); });
    }

    // A right names a schedule for good: two of one name would be taken for each other.
    void changeNamed(const QString& name, CItemId own, const QStringList* result,
                     const std::function<bool(CSqlAccessControl& model)>& work)
    {
        CSqlAccessControl* installation = model();
        if (!installation)
            return;
        bool taken = false;
        const bool changed = installation->changeAll([&] {
            const QVariantList same =
                installation->getModel(m_collection, {{QStringLiteral("label"), name}}, {QStringLiteral("id")});
            for (const QVariant& other : same)
                taken = taken || other.toMap().value(QStringLiteral("id")).toLongLong() != own.value();
            return !taken && work(*installation);
        });
        if (!changed && isHeldUp())
            return;
        if (!changed)
            return fail(taken ? QStringLiteral("there is already a schedule \"%1\"").arg(name)
                              : installation->errorString());
        if (result)
            output().lines(*result);
        done();
    }

    void showAll(AppOptions& options)
    {
        CModelReader::Query query;
        CModelReader::Page page;
        if (readQuery(options, query)
            && read([&](const CModelReader& reader) { return reader.schedules(query); }, page))
            show(Table({{QStringLiteral("id"), QStringLiteral("Id")},
                        {QStringLiteral("label"), QStringLiteral("Name")},
                        {QStringLiteral("slots"), QStringLiteral("Slots")},
                        {calendarKey, QStringLiteral("Calendar")}}),
                 page);
    }
};

/// Days of calendars.
class HolidaysCommand : public CalendarCommand
{
public:
    HolidaysCommand(Session& session, Output& output)
        : CalendarCommand(session, output, Named::Holiday, "Holidays")
    {
    }

    const std::vector<Verb>& verbs() const override
    {
        static const std::vector<Verb> table = {
            {"", "", "shows the holidays", &startVerb<&HolidaysCommand::showAll>, &ListOptions::add},
            {"add", "CALENDAR DATE LABEL",
             "adds a day such as 2026-12-25 to a calendar; makes the calendar if it does not exist",
             &startVerb<&HolidaysCommand::add>},
            {"set", "HOLIDAY KEY=VALUE...", "changes label=, date= or calendar=", &startVerb<&HolidaysCommand::set>},
            {"remove", "HOLIDAY...", "removes holidays", &startVerb<&HolidaysCommand::remove>},
        };
        return table;
    }

private:
    void add(AppOptions& options)
    {
        const QStringList words = options.positional();
        const QString name = words.at(0);
        if (name.trimmed().isEmpty() || words.at(2).trimmed().isEmpty())
            return fail(QStringLiteral("calendar and label must not be empty"));
        CSqlAccessControl* installation = model();
        if (!installation)
            return;
        // Looked for within the change: of two who make it at once one finds the other's.
        QStringList made;
        QString ambiguous;
        const bool changed = installation->changeAll([&] {
            ItemNames names(installation);
            CItemId calendar = names.find(Named::Calendar, name);
            if (names.isAmbiguous()) {
                ambiguous = names.error();
                return false;
            }
            if (calendar == CItemId())
                calendar = installation->createItem(calendars, {{QStringLiteral("label"), name}});
            const CItemId day = calendar != CItemId()
                                    ? installation->createItem(m_collection, {{QStringLiteral("label"), words.at(2)},
                                                                              {dateKey, words.at(1)},
                                                                              {calendarIdKey, calendar.value()}})
                                    : CItemId();
            made.append(QString::number(day.value()));
            return day != CItemId();
        });
        if (!changed && isHeldUp())
            return;
        if (!ambiguous.isEmpty()) {
            warn(ambiguous);
            return done(2);
        }
        if (!changed)
            return fail(installation->errorString());
        output().lines(made);
        done();
    }

    void set(AppOptions& options)
    {
        const QStringList words = options.positional();
        QVariantMap properties;
        CItemId holiday;
        if (!readProperties(words.mid(1), properties, options) || !find(m_kind, words.constFirst(), holiday)
            || !findCalendar(properties))
            return;
        if (properties.contains(calendarIdKey) && properties.value(calendarIdKey).toLongLong() == 0)
            return fail(QStringLiteral("a holiday belongs to a calendar"));
        if (properties.contains(dateKey) && !properties.value(dateKey).isValid())
            return fail(QStringLiteral("a holiday has a date"));
        change([&](CSqlAccessControl& model) { return setProperties(model, properties, holiday); });
    }

    void showAll(AppOptions& options)
    {
        CModelReader::Query query;
        CModelReader::Page page;
        if (readQuery(options, query) && read([&](const CModelReader& reader) { return reader.holidays(query); }, page))
            show(Table({{QStringLiteral("id"), QStringLiteral("Id")},
                        {QStringLiteral("label"), QStringLiteral("Label")},
                        {dateKey, QStringLiteral("Date")},
                        {calendarKey, QStringLiteral("Calendar")}}),
                 page);
    }
};

} // namespace

extern const CommandEntry schedulesCommand = {
    "schedules", "Shows and changes the schedules: the times at which rights hold.", &makeCommand<SchedulesCommand>};
extern const CommandEntry holidaysCommand = {"holidays", "Shows and changes the holidays of the schedules' calendars.",
                                             &makeCommand<HolidaysCommand>};
