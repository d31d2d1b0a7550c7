#include "script/script_run.h"

#include "script/script_values.h"
#include "script/script_watchdog.h"

#include <foundation/formats/csv_reader.h>
#include <foundation/services/script_method.h>

#include <QtCore/QFile>
#include <QtCore/QRegularExpression>
#include <QtCore/QTimer>
#include <QtQml/QQmlEngine>

#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace {

// What the script's file is called within the engine, which makes a URL of a name.
const QString scriptName = QStringLiteral("script");
// A call that throws nothing gives this back. Qt 5 tells a value that was thrown only by its being another.
const QString nothingThrown = QStringLiteral("nothing was thrown \u2713");
// A chain of promises makes one step in a turn of the event loop; some of them are the engine's own.
constexpr int quietTurns = 10;
constexpr int mostTimers = 10000;

QStringList methodNames()
{
    QStringList names;
    for (const CScriptMethod& method : CScriptMethod::all())
        names.append(method.name());
    return names;
}

} // namespace

ScriptRun::ScriptRun(ScriptTarget* target)
    : m_target(target)
    , m_quiet(new QTimer(this))
{
    QQmlEngine::setObjectOwnership(this, QQmlEngine::CppOwnership);
    connect(m_quiet, &QTimer::timeout, this, &ScriptRun::endWhenQuiet);
    connect(target, &ScriptTarget::notified, this,
            [this](const QString& name, const QVariantMap& parameters, const QString& extension) {
                if (m_notificationHandler.isCallable())
                    later(m_notificationHandler, {name, parameters, extension});
            });
}

ScriptRun::~ScriptRun() = default;

bool ScriptRun::read(Settings& settings, QString& error)
{
    QFile file(settings.fileName);
    QByteArray bytes;
    if (file.open(QIODevice::ReadOnly))
        bytes = file.read(longestFile + 1);
    if (file.error() != QFileDevice::NoError)
        error = QStringLiteral("cannot read \"%1\": %2").arg(settings.fileName, file.errorString());
    else if (bytes.size() > longestFile)
        error = QStringLiteral("\"%1\" is not a script: it is larger than %2 MiB")
                    .arg(settings.fileName)
                    .arg(longestFile >> 20);
    settings.source = QString::fromUtf8(bytes);
    return error.isEmpty();
}

bool ScriptRun::prepare()
{
    Q_INIT_RESOURCE(script);
    QFile file(QStringLiteral(":/script/prelude.js"));
    if (!file.open(QIODevice::ReadOnly))
        return false;
    const QJSValue prelude = m_engine.evaluate(QString::fromUtf8(file.readAll()), QStringLiteral("prelude"));
    const QJSValue names = ScriptConversion::toScript(m_engine, methodNames());
    const QJSValue made = QJSValue(prelude).call({m_engine.newQObject(this), names, m_engine.globalObject()});
    m_runner = made.property(QStringLiteral("run"));
    m_unhandled = made.property(QStringLiteral("unhandled"));
    m_engine.globalObject().setProperty(QStringLiteral("args"),
                                        ScriptConversion::toScript(m_engine, m_settings.arguments));
    return m_runner.isCallable();
}

void ScriptRun::start(const Settings& settings)
{
    m_settings = settings;
    if (!prepare())
        qFatal("The prelude of scripts is not in order");
    if (settings.timeoutSeconds > 0) {
        const auto tooLate = [this] {
            m_engine.setInterrupted(true);
            QMetaObject::invokeMethod(
                this,
                [this] {
                    end(1, QStringLiteral("%1: not finished after %2 s")
                               .arg(m_settings.fileName)
                               .arg(m_settings.timeoutSeconds));
                },
                Qt::QueuedConnection);
        };
        const auto stuck = [mayEndProcess = settings.mayEndProcess] {
            if (!mayEndProcess)
                return;
            std::fputs("script: it cannot be interrupted; the program ends\n", stderr);
            std::_Exit(1);
        };
        m_watchdog = std::make_unique<ScriptWatchdog>(settings.timeoutSeconds, tooLate, stuck);
    }
    QString source = settings.source;
    if (source.startsWith(QLatin1String("#!")))
        source.replace(0, 2, QStringLiteral("//"));
    source += QStringLiteral("\n;\"%1\"").arg(nothingThrown);
    look(m_engine.evaluate(source, scriptName));
}

// --- The end

// What a piece of the script came back with: is this its end?
void ScriptRun::look(const QJSValue& result)
{
    m_quietTurns = 0;
    m_quiet->start(0);
    if (m_exitCode)
        return end(*m_exitCode, QString());
    if (m_engine.isInterrupted())
        return; // the watchdog has its say in a moment
    if (result.isError() || result.toString() != nothingThrown)
        end(1, described(result));
}

void ScriptRun::endWhenQuiet()
{
    if (m_exitCode) // by a promise
        return end(*m_exitCode, QString());
    if (m_engine.isInterrupted())
        return m_quiet->stop();
    if (m_isStirred) {
        m_isStirred = false;
        m_quietTurns = 0;
    } else if (++m_quietTurns >= quietTurns) {
        m_quiet->stop();
        const QJSValue failure = m_unhandled.call();
        if (failure.property(QStringLiteral("length")).toInt() > 0)
            end(1, described(failure.property(0)));
        else if (m_awaited == 0 && m_timers.isEmpty() && !m_notificationHandler.isCallable())
            end(0, QString());
    }
}

void ScriptRun::end(int code, const QString& error)
{
    if (m_hasEnded)
        return;
    stop(); // whatever is still on its way
    m_watchdog.reset();
    QMetaObject::invokeMethod(
        this, [this, code, error] { Q_EMIT ended(code, error); }, Qt::QueuedConnection);
}

void ScriptRun::stop()
{
    m_hasEnded = true;
    m_engine.setInterrupted(true);
    m_quiet->stop();
    qDeleteAll(m_timers);
    m_timers.clear();
}

// "FILE.js:3: TypeError: ...": the first place in the script itself.
QString ScriptRun::described(const QJSValue& error) const
{
    const QString text = error.isError() ? error.toString() : QStringLiteral("thrown: %1").arg(error.toString());
    static const QRegularExpression place(QStringLiteral("@file:script:([1-9][0-9]*)"));
    const QRegularExpressionMatch match = place.match(error.property(QStringLiteral("stack")).toString());
    if (!match.hasMatch())
        return QStringLiteral("%1: %2").arg(m_settings.fileName, text);
    // What start() adds is no line of the user's.
    const int line = qMin(match.captured(1).toInt(), 1 + m_settings.source.count(QLatin1Char('\n')));
    return QStringLiteral("%1:%2: %3").arg(m_settings.fileName).arg(line).arg(text);
}

// --- Calls of the script's functions

void ScriptRun::runCallee(const QJSValue& callee, const QJSValueList& values)
{
    if (m_hasEnded)
        return;
    QJSValue list = m_engine.newArray(uint(values.size()));
    for (int i = 0; i < values.size(); ++i)
        list.setProperty(quint32(i), values.at(i));
    look(m_runner.call({callee, list, nothingThrown}));
}

// From the event loop: a script that is called while it calls would nest without end.
void ScriptRun::later(const QJSValue& callee, const QVariantList& values)
{
    ++m_awaited;
    QMetaObject::invokeMethod(
        this,
        [this, callee, values] {
            --m_awaited;
            QJSValueList arguments;
            for (const QVariant& value : values)
                arguments.append(ScriptConversion::toScript(m_engine, value));
            if (callee.isCallable())
                runCallee(callee, arguments);
            else
                m_quiet->start(0);
        },
        Qt::QueuedConnection);
}

// --- What the prelude calls

QJSValue ScriptRun::fail(const QString& reason, QJSValue::ErrorType type)
{
    m_engine.throwError(type, reason);
    return {};
}

QJSValue ScriptRun::call(const QString& name, const QJSValue& values)
{
    const CScriptMethod* method = CScriptMethod::find(name);
    if (!method || m_exitCode || m_hasEnded)
        return {};
    int count = values.property(QStringLiteral("length")).toInt();
    const QJSValue last = count > 0 ? values.property(quint32(count - 1)) : QJSValue();
    QJSValue callee;
    if (method->takesCallback() && last.isCallable()) {
        callee = last;
        --count;
    }
    QVariantList arguments;
    ScriptConversion conversion;
    for (int i = 0; i < count; ++i) {
        QVariant argument;
        if (!conversion.toVariant(values.property(quint32(i)), &argument))
            return fail(QStringLiteral("%1: %2").arg(name, conversion.error()), QJSValue::TypeError);
        arguments.append(argument);
    }
    // Counted before the call: what it calls back with may come from within.
    m_awaited += method->takesCallback() ? 1 : 0;
    const auto answer = [self = QPointer<ScriptRun>(this), callee](const QVariantMap& result) {
        if (!self)
            return;
        --self->m_awaited;
        self->later(callee, {result});
    };
    QVariant result;
    QString error;
    if (!m_target->call(name, arguments, answer, &result, &error)) {
        m_awaited -= method->takesCallback() ? 1 : 0;
        return fail(error, QJSValue::TypeError);
    }
    return ScriptConversion::toScript(m_engine, result);
}

QJSValue ScriptRun::setNotificationHandler(const QJSValue& handler)
{
    if (!handler.isCallable() && !handler.isNull() && !handler.isUndefined())
        return fail(QStringLiteral("setNotificationHandler takes a function, or null"), QJSValue::TypeError);
    m_notificationHandler = handler;
    m_target->listen(handler.isCallable());
    return {};
}

QJSValue ScriptRun::errorString()
{
    return asked(QStringLiteral("errorString"), {});
}

QJSValue ScriptRun::asked(const QString& name, const QVariantList& arguments)
{
    QVariant result;
    QString error;
    if (!m_target->call(name, arguments, {}, &result, &error))
        return fail(error, QJSValue::TypeError);
    return ScriptConversion::toScript(m_engine, result);
}

void ScriptRun::print(const QString& text)
{
    if (!m_exitCode && !m_hasEnded)
        Q_EMIT printed(text);
}

void ScriptRun::warn(const QString& text)
{
    if (!m_exitCode && !m_hasEnded)
        Q_EMIT warned(text);
}

void ScriptRun::exit(double code)
{
    if (m_exitCode || m_hasEnded)
        return;
    if (std::floor(code) != code || code < 0 || code > 255) {
        fail(QStringLiteral("exit takes a number from 0 to 255"), QJSValue::RangeError);
        return;
    }
    m_exitCode = int(code);
    // No try of the script holds this up.
    m_engine.setInterrupted(true);
    m_engine.throwError(QStringLiteral("exit"));
}

QJSValue ScriptRun::setTimer(const QJSValue& callee, const QJSValue& values, double ms)
{
    if (!callee.isCallable())
        return fail(QStringLiteral("setTimeout takes a function"), QJSValue::TypeError);
    if (m_timers.size() >= mostTimers)
        return fail(QStringLiteral("more than %1 timers").arg(mostTimers), QJSValue::RangeError);
    const int number = ++m_lastTimer;
    auto* timer = new QTimer(this);
    timer->setSingleShot(true);
    timer->setTimerType(Qt::PreciseTimer);
    m_timers.insert(number, timer);
    connect(timer, &QTimer::timeout, this, [this, number, callee, values] {
        m_timers.take(number)->deleteLater();
        QJSValueList list;
        const int count = values.property(QStringLiteral("length")).toInt();
        for (int i = 0; i < count; ++i)
            list.append(values.property(quint32(i)));
        runCallee(callee, list);
    });
    timer->start(int(qBound(0.0, ms, 2147483647.0)));
    return number;
}

void ScriptRun::clearTimer(double timer)
{
    delete m_timers.take(int(timer));
}

QByteArray ScriptRun::contentOf(const QString& name, bool* ok)
{
    QFile file(name);
    *ok = false;
    if (!file.open(QIODevice::ReadOnly)) {
        fail(QStringLiteral("cannot read \"%1\": %2").arg(name, file.errorString()));
        return {};
    }
    QByteArray bytes = file.read(longestFile + 1);
    *ok = bytes.size() <= longestFile;
    if (!*ok)
        fail(QStringLiteral("\"%1\" is larger than %2 MiB").arg(name).arg(longestFile >> 20), QJSValue::RangeError);
    return bytes;
}

QJSValue ScriptRun::readFile(const QString& name)
{
    bool ok = false;
    const QByteArray bytes = contentOf(name, &ok);
    return ok ? QJSValue(QString::fromUtf8(bytes)) : QJSValue();
}

QJSValue ScriptRun::readCsv(const QString& name)
{
    bool ok = false;
    const QByteArray bytes = contentOf(name, &ok);
    if (!ok)
        return {};
    CCsvReader reader(bytes);
    QJSValue records = m_engine.newArray();
    QStringList fields;
    quint32 count = 0;
    while (reader.readRecord(&fields))
        records.setProperty(count++, ScriptConversion::toScript(m_engine, fields));
    if (!reader.errorString().isEmpty())
        return fail(QStringLiteral("%1:%2: %3").arg(name).arg(reader.line()).arg(reader.errorString()));
    return records;
}

QJSValue ScriptRun::events(const QJSValue& filter)
{
    ScriptConversion conversion;
    QVariant wanted;
    if (!conversion.toVariant(filter, &wanted))
        return fail(QStringLiteral("events: %1").arg(conversion.error()), QJSValue::TypeError);
    return asked(QStringLiteral("events"), {wanted});
}
