#include "commands/users_csv.h"

#include <foundation/core/canonical_text.h>
#include <foundation/core/qt_compat_p.h>
#include <foundation/datatypes/data_type.h>
#include <foundation/formats/csv_reader.h>
#include <foundation/formats/csv_writer.h>
#include <server/model/model_reader.h>
#include <server/model/sql_access_control.h>

#include <QtCore/QRegularExpression>
#include <QtCore/QSet>
#include <QtCore/QTextStream>

#include <algorithm>

namespace {

// Records that are looked up together.
constexpr int batchSize = 1000;
constexpr int mostColumns = 2000;
// A list of names is split at its commas; a name may have some of its own.
constexpr int mostCommas = 8;

const QString usersGroups = QStringLiteral("UsersGroups");
const QString enabledKey = QStringLiteral("enabled");

// What a column of a file stands for.
struct Field
{
    enum Meaning
    {
        Id,
        Label,
        Groups,
        Doors,
        Media,
        Property,
        Nothing,
    };
    Meaning meaning = Nothing;
    QString name; // of the property, or the key of the row
};

QString joined(const QVariant& texts)
{
    return texts.toStringList().join(QLatin1String(", "));
}

// The text of a user's field as it is written.
QString textOf(const QVariantMap& user, const Field& field)
{
    switch (field.meaning) {
    case Field::Id:
    case Field::Label:
        return user.value(field.name).toString();
    case Field::Groups:
    case Field::Doors:
    case Field::Media:
        return joined(user.value(field.name));
    case Field::Property:
        if (field.name == QLatin1String("Department"))
            return user.value(QStringLiteral("department")).toString();
        if (field.name == QLatin1String("Email"))
            return user.value(QStringLiteral("email")).toString();
        if (field.name == enabledKey)
            return canonicalText(user.value(enabledKey));
        return canonicalText(user.value(QStringLiteral("properties")).toMap().value(field.name));
    case Field::Nothing:
        break;
    }
    return QString();
}

// Carriage returns get lost on the way through files.
bool isSame(QString left, QString right)
{
    const QLatin1Char carriageReturn('\r');
    return left.remove(carriageReturn) == right.remove(carriageReturn);
}

QVector<Field> tableFields()
{
    return {{Field::Id, QStringLiteral("id")},
            {Field::Label, QStringLiteral("label")},
            {Field::Property, QStringLiteral("Department")},
            {Field::Property, QStringLiteral("Email")},
            {Field::Groups, QStringLiteral("groups")},
            {Field::Doors, QStringLiteral("accessPoints")},
            {Field::Media, QStringLiteral("media")}};
}

// --- Reading

class Import
{
public:
    using Progress = std::function<void(const QString&)>;

    Import(CSqlAccessControl& model, const QByteArray& bytes, const Progress& progress)
        : m_model(model)
        , m_reader(&model)
        , m_file(bytes)
        , m_progress(progress)
    {
    }

    bool run()
    {
        QStringList header;
        if (!m_file.readRecord(&header))
            return m_file.errorString().isEmpty() ? fail(1, QStringLiteral("there is no header line"))
                                                  : fail(m_file.line(), m_file.errorString());
        if (!readHeader(header))
            return false;
        while (m_error.isEmpty()) {
            const QVector<Record> batch = readBatch();
            if (batch.isEmpty() || !m_error.isEmpty() || !takeBatch(batch))
                break;
            m_progress(QStringLiteral("%1 users, %2 %")
                           .arg(m_outcome.added + m_outcome.changed + m_outcome.unchanged)
                           .arg(m_file.percent()));
        }
        return m_error.isEmpty() && moveMedia();
    }

    QString error() const { return m_error; }
    UsersCsv::Outcome outcome() const { return m_outcome; }

private:
    struct Record
    {
        int line;
        QStringList fields;
        qint64 id; // 0: none was given
    };
    struct MediaMove
    {
        int line;
        CItemId user;
        QList<CItemId> media;
    };

    bool fail(int line, const QString& reason)
    {
        if (m_error.isEmpty())
            m_error = QStringLiteral("line %1: %2").arg(line).arg(reason);
        return false;
    }
    bool refused(int line) { return fail(line, m_model.errorString()); }

    bool readHeader(const QStringList& header)
    {
        if (header.size() > mostColumns)
            return fail(m_file.line(), QStringLiteral("there are more than %1 columns").arg(mostColumns));
        const QStringList known = m_model.getPropertyNames(usersGroups);
        for (const QString& title : header) {
            const Field field = fieldOf(title.trimmed(), known);
            if (field.meaning == Field::Property && m_never.contains(field.name))
                return fail(m_file.line(), QStringLiteral("\"%1\" cannot be set").arg(title));
            if (!field.name.isEmpty() && isTaken(field))
                return fail(m_file.line(), QStringLiteral("there are two columns \"%1\"").arg(title));
            m_fields.append(field);
        }
        if (placeOf(Field::Label) < 0)
            return fail(m_file.line(), QStringLiteral("there is no column \"Name\""));
        return true;
    }

    Field fieldOf(const QString& title, const QStringList& known) const
    {
        if (title.isEmpty())
            return {};
        const auto isTitle = [&](const char* text) {
            return title.compare(QLatin1String(text), Qt::CaseInsensitive) == 0;
        };
        // What stands there twice is a property that is called like a column of the table.
        const QVector<Field> fields = tableFields();
        for (int i = 0; i < fields.size(); ++i) {
            const bool isMeant = isTitle(UsersCsv::columns().at(i).title) || isTitle(qPrintable(fields.at(i).name))
                                 || (fields.at(i).meaning == Field::Doors && isTitle("Access Points"));
            if (isMeant && !isTaken(fields.at(i)))
                return fields.at(i);
        }
        if (known.contains(title))
            return {Field::Property, title};
        const QStringList alike =
            known.filter(QRegularExpression(QRegularExpression::anchoredPattern(QRegularExpression::escape(title)),
                                            QRegularExpression::CaseInsensitiveOption));
        if (isTitle("enabled"))
            return {Field::Property, enabledKey};
        return {Field::Property, alike.size() == 1 ? alike.first() : title};
    }

    bool isTaken(const Field& field) const
    {
        return std::any_of(m_fields.begin(), m_fields.end(), [&](const Field& other) {
            return other.meaning == field.meaning && other.name == field.name;
        });
    }

    int placeOf(Field::Meaning meaning) const
    {
        for (int i = 0; i < m_fields.size(); ++i) {
            if (m_fields.at(i).meaning == meaning)
                return i;
        }
        return -1;
    }

    QVector<Record> readBatch()
    {
        QVector<Record> batch;
        QStringList fields;
        const int idPlace = placeOf(Field::Id);
        const int labelPlace = placeOf(Field::Label);
        while (batch.size() < batchSize && m_file.readRecord(&fields)) {
            const int line = m_file.line();
            // Spreadsheets write the separators of rows that are empty.
            if (std::all_of(fields.begin(), fields.end(), [](const QString& field) { return field.isEmpty(); }))
                continue;
            for (int i = 0; i < fields.size(); ++i) {
                const bool hasPlace = i < m_fields.size() && m_fields.at(i).meaning != Field::Nothing;
                if (!hasPlace && !fields.at(i).isEmpty()) {
                    fail(line, QStringLiteral("there are more fields than columns"));
                    return batch;
                }
            }
            if (fields.value(labelPlace).trimmed().isEmpty()) {
                fail(line, QStringLiteral("there is no name"));
                return batch;
            }
            batch.append({line, fields, idPlace < 0 ? 0 : fields.value(idPlace).trimmed().toLongLong()});
        }
        if (!m_file.errorString().isEmpty())
            fail(m_file.line(), m_file.errorString());
        return batch;
    }

    bool takeBatch(const QVector<Record>& batch)
    {
        QHash<qint64, QVariantMap> users;
        CModelReader::Query query;
        for (const Record& record : batch) {
            if (record.id > 0)
                query.among.append(record.id);
        }
        if (!query.among.isEmpty()) {
            const CModelReader::Page page = m_reader.users(query);
            for (const QVariantMap& user : page.rows)
                users.insert(user.value(QStringLiteral("id")).toLongLong(), user);
        }
        for (const Record& record : batch) {
            const bool isKnown = users.contains(record.id);
            if (isKnown && m_lines.contains(record.id))
                return fail(
                    record.line,
                    QStringLiteral("user %1 is already on line %2").arg(record.id).arg(m_lines.value(record.id)));
            if (isKnown)
                m_lines.insert(record.id, record.line);
            if (!(isKnown ? change(record, users.value(record.id)) : add(record)))
                return false;
        }
        return true;
    }

    // The value of a property; invalid where the field is empty.
    static QVariant valueOf(const Field& field, const QString& text)
    {
        if (text.isEmpty())
            return QVariant();
        return field.name == enabledKey ? text.toLower() : text;
    }

    bool add(const Record& record)
    {
        QVariantMap properties{{QStringLiteral("class"), int(UserClassUser)}};
        for (int i = 0; i < qMin(int(record.fields.size()), int(m_fields.size())); ++i) {
            const Field& field = m_fields.at(i);
            if (field.meaning == Field::Label || (field.meaning == Field::Property && !record.fields.at(i).isEmpty()))
                properties.insert(field.name, valueOf(field, record.fields.at(i)));
        }
        const CItemId user = m_model.createItem(usersGroups, properties);
        if (user == CItemId())
            return refused(record.line);
        ++m_outcome.added;
        bool changed = false;
        return setRelations(record, user, {}, changed);
    }

    bool change(const Record& record, const QVariantMap& user)
    {
        bool changed = false;
        for (int i = 0; i < qMin(int(record.fields.size()), int(m_fields.size())); ++i) {
            const Field& field = m_fields.at(i);
            const QString& text = record.fields.at(i);
            if ((field.meaning != Field::Label && field.meaning != Field::Property) || isSame(text, textOf(user, field))
                || (field.name == enabledKey
                    && textOf(user, field) == (text.isEmpty() ? QStringLiteral("true") : text.toLower())))
                continue;
            changed = true;
            if (!m_model.setItemProperty(usersGroups, field.name, valueOf(field, text), record.id))
                return refused(record.line);
        }
        if (!setRelations(record, record.id, user, changed))
            return false;
        ++(changed ? m_outcome.changed : m_outcome.unchanged);
        return true;
    }

    bool setRelations(const Record& record, CItemId user, const QVariantMap& present, bool& changed)
    {
        for (int i = 0; i < qMin(int(record.fields.size()), int(m_fields.size())); ++i) {
            const Field& field = m_fields.at(i);
            if (field.meaning != Field::Groups && field.meaning != Field::Doors && field.meaning != Field::Media)
                continue;
            // What is written there may be ambiguous; where it says what is so, nobody need know whom it means.
            if (isSame(record.fields.at(i), textOf(present, field)))
                continue;
            QList<CItemId> wanted;
            if (!readNames(record.line, field.meaning, record.fields.at(i), wanted))
                return false;
            QList<CItemId> had;
            const char* key = field.meaning == Field::Groups  ? "groupIds"
                              : field.meaning == Field::Doors ? "accessPointIds"
                                                              : "mediaIds";
            const QVariantList ids = present.value(QLatin1String(key)).toList();
            for (const QVariant& id : ids)
                had.append(id.toLongLong());
            const QList<CItemId> more = without(wanted, had);
            const QList<CItemId> less = without(had, wanted);
            changed = changed || !more.isEmpty() || !less.isEmpty();
            if (!setRelation(record.line, field.meaning, user, more, less))
                return false;
        }
        return true;
    }

    static QList<CItemId> without(const QList<CItemId>& items, const QList<CItemId>& others)
    {
        const QSet<CItemId> out(others.begin(), others.end());
        QList<CItemId> left;
        for (const CItemId item : items) {
            if (!out.contains(item))
                left.append(item);
        }
        return left;
    }

    bool setRelation(int line, Field::Meaning meaning, CItemId user, const QList<CItemId>& more,
                     const QList<CItemId>& less)
    {
        if (meaning == Field::Media) {
            // All are taken before the first is given: one may change hands between two lines.
            m_freed.append({line, user, less});
            m_given.append({line, user, more});
            return true;
        }
        if (meaning == Field::Doors) {
            for (const CItemId door : more) {
                if (m_model.addAccessRight(user, door, {}) == CItemId())
                    return refused(line);
            }
            return less.isEmpty() || m_model.deleteAccessPointsOfUser(less, user) || refused(line);
        }
        for (const CItemId group : more) {
            if (!m_model.addUsersToGroup({user}, group))
                return refused(line);
        }
        for (const CItemId group : less) {
            if (!m_model.removeUsersFromGroup({user}, group))
                return refused(line);
        }
        return true;
    }

    bool moveMedia()
    {
        for (const MediaMove& move : qAsConst(m_freed)) {
            if (!move.media.isEmpty() && !m_model.addRfidMediaToUser(move.media, CItemId()))
                return refused(move.line);
        }
        QHash<qint64, int> lines;
        for (const MediaMove& move : qAsConst(m_given)) {
            for (const CItemId medium : move.media) {
                if (lines.contains(medium.value()))
                    return fail(move.line, QStringLiteral("medium %1 is given to another user on line %2")
                                               .arg(medium.value())
                                               .arg(lines.value(medium.value())));
                lines.insert(medium.value(), move.line);
            }
            if (!move.media.isEmpty() && !m_model.addRfidMediaToUser(move.media, move.user))
                return refused(move.line);
        }
        return true;
    }

    // The items of that label; of a medium also of that UID, and of that id where nothing else is called so.
    const QList<CItemId>& named(Field::Meaning meaning, const QString& name)
    {
        const auto key = qMakePair(int(meaning), name);
        auto known = m_named.find(key);
        if (known == m_named.end()) {
            const QString collection = meaning == Field::Groups  ? usersGroups
                                       : meaning == Field::Doors ? QStringLiteral("AccessPoints")
                                                                 : QStringLiteral("Media");
            const int itemClass = meaning == Field::Groups ? int(UserClassGroup) : 0;
            known = m_named.insert(key, m_reader.resolve(collection, itemClass, name, CModelReader::LabelFirst));
        }
        return *known;
    }

    bool readNames(int line, Field::Meaning meaning, const QString& text, QList<CItemId>& items)
    {
        const char* word = meaning == Field::Groups ? "group" : meaning == Field::Doors ? "door" : "medium";
        const QStringList parts = text.split(QLatin1Char(','));
        for (int from = 0; from < parts.size();) {
            if (parts.at(from).trimmed().isEmpty()) {
                ++from;
                continue;
            }
            // The longest name that fits.
            int count = qMin(mostCommas + 1, int(parts.size()) - from);
            QString name;
            for (; count > 0; --count) {
                name = QStringList(parts.mid(from, count)).join(QLatin1Char(',')).trimmed();
                if (!named(meaning, name).isEmpty())
                    break;
            }
            if (count == 0)
                return fail(line, QStringLiteral("there is no %1 \"%2\"").arg(QLatin1String(word), name.left(100)));
            const QList<CItemId> found = named(meaning, name);
            if (found.size() > 1)
                return fail(
                    line, QStringLiteral("more than one %1 is called \"%2\"").arg(QLatin1String(word), name.left(100)));
            if (!items.contains(found.first()))
                items.append(found.first());
            from += count;
        }
        return true;
    }

    CSqlAccessControl& m_model;
    CModelReader m_reader;
    CCsvReader m_file;
    Progress m_progress;
    // Properties that an item has from elsewhere.
    const QStringList m_never{QStringLiteral("id"),       QStringLiteral("class"),   QStringLiteral("label"),
                              QStringLiteral("location"), QStringLiteral("Members"), QStringLiteral("Access Points")};
    QVector<Field> m_fields;
    QHash<qint64, int> m_lines; // where a known user stands
    QHash<QPair<int, QString>, QList<CItemId>> m_named;
    QVector<MediaMove> m_freed;
    QVector<MediaMove> m_given;
    UsersCsv::Outcome m_outcome;
    QString m_error;
};

} // namespace

const QVector<UsersCsv::Column>& UsersCsv::columns()
{
    static const QVector<Column> columns = {{"id", "Id"},        {"label", "Name"},    {"department", "Department"},
                                            {"email", "E-mail"}, {"groups", "Groups"}, {"accessPoints", "Doors"},
                                            {"media", "Media"}};
    return columns;
}

void UsersCsv::write(QIODevice& file, const QList<QVariantMap>& rows, bool guarded)
{
    QVector<Field> fields = tableFields();
    QStringList titles;
    for (const Column& column : columns())
        titles.append(QLatin1String(column.title));
    QSet<QString> further;
    for (const QVariantMap& row : rows) {
        const QVariantMap properties = row.value(QStringLiteral("properties")).toMap();
        for (auto property = properties.cbegin(); property != properties.cend(); ++property)
            further.insert(property.key());
        if (!row.value(enabledKey).toBool())
            further.insert(enabledKey);
    }
    QStringList names = further.values();
    names.sort();
    for (const QString& name : qAsConst(names)) {
        fields.append({Field::Property, name});
        titles.append(name);
    }
    QList<int> order;
    for (int i = 0; i < fields.size(); ++i)
        order.append(i);
    CCsvWriter writer;
    writer.setFormulaGuard(guarded);
    writer.setColumns(order);
    QTextStream out(&file);
    QtCompat::setUtf8(out);
    out.setGenerateByteOrderMark(true);
    writer.writeHeader(out, titles);
    for (const QVariantMap& row : rows) {
        QList<QVariant> values;
        for (const Field& field : qAsConst(fields))
            values.append(textOf(row, field));
        writer.writeRow(out, values);
    }
}

bool UsersCsv::read(CSqlAccessControl& model, const QByteArray& bytes,
                    const std::function<void(const QString&)>& progress, Outcome& outcome, QString& error)
{
    Import import(model, bytes, progress);
    const bool good = import.run();
    outcome = import.outcome();
    error = import.error();
    return good;
}
