#include "commands/item_names.h"
#include "commands/time_text.h"
#include "shell/command.h"
#include "shell/command_words.h"

#include <foundation/access/access_explanation.h>
#include <foundation/core/string_utils.h>
#include <server/model/access_facts_source.h>
#include <server/model/model_reader.h>
#include <server/model/sql_access_control.h>

#include <QtCore/QJsonDocument>

#include <algorithm>

namespace {

// Exit codes: what is denied is no mistake, and a name that is unknown is no denial.
constexpr int allowedCode = 0;
constexpr int deniedCode = 1;
constexpr int mistakeCode = 2;

const QString atOption = QStringLiteral("at");
const QString nowOption = QStringLiteral("now");
const QString limitOption = QStringLiteral("limit");
const QString credentialOption = QStringLiteral("credential");

/// The card or code that a user has shown to a door.
struct ShownCredential
{
    struct Candidate
    {
        const char* word; ///< "medium"
        CItemId id;
    };
    /// Several are ambiguous.
    QVector<Candidate> candidates;
    CItemId id;    ///< 0: there is none
    CItemId owner; ///< 0: nobody's
    /// Of the denial when it is nobody's.
    CAccessReason reason = CAccessReason::CredentialUnknown;
};

QString jsonLine(const QJsonDocument& document)
{
    return QString::fromUtf8(document.toJson(QJsonDocument::Compact));
}

bool isCode(const QString& text)
{
    return !text.isEmpty() && text.size() <= 12 && std::all_of(text.begin(), text.end(), [](QChar c) {
        return c >= QLatin1Char('0') && c <= QLatin1Char('9');
    });
}

ShownCredential findCredential(const CSqlAccessControl& model, const QString& text)
{
    const QString codes = QStringLiteral("Codes");
    ShownCredential shown;
    bool isById = false;
    const auto add = [&](const char* word, CItemId id) {
        const auto same = [id](const ShownCredential::Candidate& other) { return other.id == id; };
        const bool known = std::any_of(shown.candidates.begin(), shown.candidates.end(), same);
        const bool byId = QString::number(id.value()) == text;
        // An id goes before all that is called so.
        if (byId)
            shown.candidates.clear();
        if (byId || (!known && !isById))
            shown.candidates.append({word, id});
        isById = isById || byId;
    };
    const CModelReader reader(&model);
    const QList<CItemId> media = reader.resolve(QStringLiteral("Media"), 0, text);
    for (const CItemId id : media)
        add("medium", id);
    const QList<CItemId> described = reader.resolve(codes, 0, text);
    for (const CItemId id : described)
        add("code", id);
    const QVariantList entered = model.getModel(codes, {{QStringLiteral("code"), text}}, {QStringLiteral("id")});
    for (const QVariant& code : entered)
        add("code", code.toMap().value(QStringLiteral("id")).toLongLong());

    if (shown.candidates.size() == 1) {
        shown.id = shown.candidates.first().id;
        shown.owner = qstrcmp(shown.candidates.first().word, "medium") == 0
                          ? model.getUserOfRfidMedium(shown.id)
                          : CItemId(model.getItemProperty(codes, QStringLiteral("userId"), shown.id).toLongLong());
    } else if (isCode(text)) {
        shown.reason = CAccessReason::InvalidPIN;
    }
    return shown;
}

/// One question, as options and names put it.
struct Question
{
    QStringList names;
    QString at; ///< empty: now
    QString credential;
    bool hasCredential = false;
    int limit = 0; ///< 0: none
};

void addTimeOptions(AppOptions& options)
{
    options.addValue(
        atOption, QStringLiteral("T"),
        QStringLiteral("at this time, such as 2026-11-22T03:10, in the door's time zone (doors: in this computer's)"));
    options.addSwitch(nowOption, QStringLiteral("now (the default)"));
}

void addWhyOptions(AppOptions& options)
{
    addTimeOptions(options);
    options.addValue(credentialOption, QStringLiteral("MEDIUM-OR-CODE"),
                     QStringLiteral("as if the user had shown this medium or code: its id, label, UID or digits"));
}

void addListOptions(AppOptions& options)
{
    addTimeOptions(options);
    options.addValue(limitOption, QStringLiteral("N"), QStringLiteral("show at most N rows"));
    TableOptions::add(options);
}

/// Asks the installation who may open what, once or for each line of input.
class AccessCommand : public Command
{
public:
    using Command::Command;

    const std::vector<Verb>& verbs() const override
    {
        static const std::vector<Verb> table = {
            {"why", "[USER DOOR]", "shows whether a user may open a door, and why; exit code 0: yes, 1: no",
             &startVerb<&AccessCommand::startWhy>, &addWhyOptions},
            {"who", "[DOOR]", "shows who has a right at a door, one row per right and credential",
             &startVerb<&AccessCommand::startWho>, &addListOptions},
            {"doors", "[USER]", "shows at which doors a user has a right, one row per right and credential",
             &startVerb<&AccessCommand::startDoors>, &addListOptions},
        };
        return table;
    }

    void takeInput(const QString& line) override
    {
        ++m_line;
        // As in a script, blank lines and remarks are no questions.
        const QStringList words = commandWords(line);
        if (!words.isEmpty()) {
            AppOptions options(QString(), "KYR_CONSOLE_ACCESS");
            options.addPositional(QLatin1String(m_kind->names));
            m_kind->addOptions(options);
            options.parse(words);
            const Question question = readQuestion(options, m_question);
            m_code =
                qMax(m_code, options.error().isEmpty() ? (this->*m_kind->answer)(question) : mistake(options.error()));
        }
        Q_EMIT inputWanted();
    }

    void takeInputEnd() override
    {
        if (m_line == 0)
            return misuse(QStringLiteral("%1 is missing, here or on standard input").arg(QLatin1String(m_kind->names)));
        done(m_code);
    }

private:
    struct Kind
    {
        const char* names;
        void (*addOptions)(AppOptions& options);
        int (AccessCommand::*answer)(const Question& question);
    };

    void startWhy(AppOptions& options)
    {
        static const Kind kind{"USER DOOR", &addWhyOptions, &AccessCommand::why};
        ask(kind, options);
    }

    void startWho(AppOptions& options)
    {
        static const Kind kind{"DOOR", &addListOptions, &AccessCommand::who};
        ask(kind, options);
    }

    void startDoors(AppOptions& options)
    {
        static const Kind kind{"USER", &addListOptions, &AccessCommand::doors};
        ask(kind, options);
    }

    void ask(const Kind& kind, AppOptions& options)
    {
        m_kind = &kind;
        m_question = readQuestion(options, Question());
        const int wanted = 1 + int(QByteArray(kind.names).count(' '));
        if (!m_question.names.isEmpty() && m_question.names.size() != wanted)
            options.setError(QStringLiteral("takes %1, or questions on standard input").arg(QLatin1String(kind.names)));
        if (!options.error().isEmpty())
            return;
        if (m_question.names.isEmpty() && !tableOptions().csvFile().isNull())
            return options.setError(QStringLiteral("--csv works for a single question only"));
        m_model = model();
        if (!m_model)
            return;
        m_source = IAccessFactsSource::of(m_model);
        if (m_question.names.isEmpty())
            Q_EMIT inputWanted();
        else
            done((this->*kind.answer)(m_question));
    }

    // What a line does not say is as the command's own options have it.
    static Question readQuestion(AppOptions& options, Question question)
    {
        question.names = options.positional();
        if (options.isSet(atOption) && options.isSet(nowOption))
            options.setError(QStringLiteral("--at and --now cannot be used together"));
        if (options.isSet(nowOption))
            question.at.clear();
        if (options.isSet(atOption)) {
            question.at = options.value(atOption);
            if (!CAccessTimeZone().instantFromText(question.at, CAccessTimeZone::DayEdge::Begin))
                options.setError(TimeText::mistake(QStringLiteral("--at"), question.at));
        }
        if (options.isSet(credentialOption)) {
            question.credential = options.value(credentialOption);
            question.hasCredential = true;
        }
        if (options.isSet(limitOption))
            question.limit = options.number(limitOption, 1, 1000000000);
        return question;
    }

    static qint64 instantOf(const Question& question, const CAccessTimeZone& zone)
    {
        if (question.at.isEmpty())
            return QDateTime::currentSecsSinceEpoch();
        return zone.instantFromText(question.at, CAccessTimeZone::DayEdge::Begin).value_or(0);
    }

    int why(const Question& question)
    {
        const CItemId user = find(Named::User, question.names.at(0));
        const CItemId door = user != CItemId() ? find(Named::Door, question.names.at(1)) : CItemId();
        if (door == CItemId())
            return mistake(m_error);
        ShownCredential shown;
        if (question.hasCredential) {
            shown = findCredential(*m_model, question.credential);
            if (shown.candidates.size() > 1)
                return mistake(ambiguityText(shown));
        }
        CAccessFacts facts = m_source->ofUserAtDoor(user, door);
        if (!m_source->errorString().isEmpty())
            return failure(m_source->errorString());
        if (question.hasCredential)
            facts.restrictToCredential(shown.id);
        const qint64 at = instantOf(question, facts.accessPoints.isEmpty() ? zone() : facts.zoneOf(0));
        CAccessVerdict verdict = CAccessEvaluator::verdict(facts, at);
        // What nobody has the door does not know: it looks at no right.
        if (question.hasCredential && shown.owner == CItemId())
            verdict.reason = shown.reason;

        if (isJson()) {
            QJsonObject object = CAccessExplanation::verdictToJson(facts, verdict);
            if (question.hasCredential)
                object.insert(QStringLiteral("credentialUser"), shown.owner != CItemId()
                                                                    ? QJsonValue(QString::number(shown.owner.value()))
                                                                    : QJsonValue());
            output().line(jsonLine(QJsonDocument(object)));
        } else {
            output().lines(CAccessExplanation::lines(facts, verdict));
            if (question.hasCredential && shown.owner != user)
                output().line(strangeCredentialText(shown, door));
        }
        return verdict.isAllowed() ? allowedCode : deniedCode;
    }

    int who(const Question& question)
    {
        const CItemId door = find(Named::Door, question.names.at(0));
        if (door == CItemId())
            return mistake(m_error);
        const CAccessFacts facts = m_source->ofDoor(door);
        return list(question, facts, facts.accessPoints.isEmpty() ? zone() : facts.zoneOf(0), true);
    }

    int doors(const Question& question)
    {
        const CItemId user = find(Named::User, question.names.at(0));
        if (user == CItemId())
            return mistake(m_error);
        return list(question, m_source->ofUser(user), zone(), false);
    }

    int list(const Question& question, const CAccessFacts& facts, const CAccessTimeZone& zone, bool ofDoor)
    {
        if (!m_source->errorString().isEmpty())
            return failure(m_source->errorString());
        QVector<CAccessChain> chains = CAccessEvaluator::chains(facts, instantOf(question, zone));
        const int leftOut = question.limit > 0 ? qMax(0, int(chains.size()) - question.limit) : 0;
        chains.resize(chains.size() - leftOut);
        if (isJson())
            output().line(jsonLine(QJsonDocument(CAccessExplanation::chainsToJson(chains))));
        else
            print(tableOf(facts, chains, ofDoor));
        if (leftOut > 0)
            warn(QStringLiteral("%1 more rows are left out (a larger --limit shows them)").arg(leftOut));
        return allowedCode;
    }

    static Table tableOf(const CAccessFacts& facts, const QVector<CAccessChain>& chains, bool ofDoor)
    {
        Table table({{QString(), QStringLiteral("Id")},
                     {QString(), ofDoor ? QStringLiteral("User") : QStringLiteral("Door")},
                     {QString(), QStringLiteral("Allowed")},
                     {QString(), QStringLiteral("Reason")},
                     {QString(), QStringLiteral("Group")},
                     {QString(), QStringLiteral("Right")},
                     {QString(), QStringLiteral("Schedule")},
                     {QString(), QStringLiteral("Credential")}});
        for (const CAccessChain& chain : chains) {
            const CAccessExplanation::Labels labels = CAccessExplanation::labels(facts, chain);
            table.addRow({QString::number(ofDoor ? chain.user.value() : chain.accessPoint.value()),
                          ofDoor ? labels.user : labels.accessPoint,
                          chain.isAllowed() ? QStringLiteral("yes") : QStringLiteral("no"),
                          QString::fromLatin1(accessReasonToString(chain.reason)), labels.group,
                          QString::number(chain.right.value()), labels.schedule, labels.credential});
        }
        return table;
    }

    CItemId find(Named kind, const QString& name)
    {
        const qint64 failures = m_model->database()->failures();
        ItemNames names(m_model);
        const CItemId id = names.find(kind, name);
        const bool isRead = m_model->database()->failures() == failures;
        m_error = isRead ? names.error() : m_model->database()->errorString();
        return id;
    }

    // Neither repeats what was shown: it may be the digits of a code.
    static QString ambiguityText(const ShownCredential& shown)
    {
        QStringList all;
        for (const ShownCredential::Candidate& candidate : shown.candidates)
            all.append(QStringLiteral("%1 %2").arg(QLatin1String(candidate.word)).arg(candidate.id.value()));
        return QStringLiteral("the credential is ambiguous: %1; give its id").arg(all.join(QLatin1String(", ")));
    }

    QString strangeCredentialText(const ShownCredential& shown, CItemId door) const
    {
        if (shown.id == CItemId())
            return QStringLiteral("  note: there is no such medium or code");
        if (shown.owner == CItemId())
            return QStringLiteral("  note: this %1 (%2) belongs to nobody")
                .arg(QLatin1String(shown.candidates.first().word))
                .arg(shown.id.value());
        const QString owner = CModelReader(m_model).labels({shown.owner}).value(shown.owner);
        return QStringLiteral("  note: it belongs to %1; ask about that user: access why %2 %3 --credential %4")
            .arg(CStringUtils::printable(owner), QString::number(shown.owner.value()), QString::number(door.value()),
                 QString::number(shown.id.value()));
    }

    int failure(const QString& text)
    {
        tell(text);
        return deniedCode;
    }

    int mistake(const QString& text)
    {
        tell(text);
        return mistakeCode;
    }

    // Each line of input has its line of output, whatever comes of it.
    void tell(const QString& text)
    {
        warn(m_line > 0 ? QStringLiteral("line %1: %2").arg(m_line).arg(text) : text);
        if (m_line > 0 && isJson())
            output().line(jsonLine(QJsonDocument(QJsonObject{{QStringLiteral("error"), text}})));
    }

    const CAccessTimeZone& zone()
    {
        if (!m_zone)
            m_zone = TimeText::consoleZone();
        return *m_zone;
    }

    const Kind* m_kind = nullptr;
    CSqlAccessControl* m_model = nullptr;
    std::unique_ptr<IAccessFactsSource> m_source;
    std::optional<CAccessTimeZone> m_zone;
    Question m_question;
    QString m_error;
    int m_line = 0;
    int m_code = 0;
};

} // namespace

extern const CommandEntry accessCommand = {"access",
                                           "Shows who may open which door, and why. Without names, each line of "
                                           "standard input is one question, written like the arguments.",
                                           &makeCommand<AccessCommand>};
