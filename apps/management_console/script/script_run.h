#pragma once

#include "script/script_target.h"

#include <QtCore/QHash>
#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtQml/QJSEngine>

#include <memory>
#include <optional>

class QTimer;
class ScriptWatchdog;

/// One run of a script in JavaScript against an installation.
///
/// The script finds the globals `kyr` (CScriptService, and errorString()), `args`, print(), `console`, exit(),
/// setTimeout(), clearTimeout(), readFile(), readCsv() and events(). What calls it back does so from the event loop,
/// never from within a call. It goes on while an answer, a timer or, once it has set a notification handler, a
/// notification is awaited.
class ScriptRun : public QObject
{
    Q_OBJECT

public:
    struct Settings
    {
        QString fileName; ///< as the user wrote it, for messages
        QString source;
        QStringList arguments;
        int timeoutSeconds = 0; ///< 0 for none
        /// A script that is not even interrupted some seconds after its time takes the process along.
        bool mayEndProcess = false;
    };

    static constexpr qint64 longestFile = qint64(64) * 1024 * 1024; ///< that a script is, or reads; bytes

    /// Does not own the target, which outlives it.
    explicit ScriptRun(ScriptTarget* target);
    ~ScriptRun() override;

    /// The script in a file, as start() takes it. False with a reason.
    static bool read(Settings& settings, QString& error);

    void start(const Settings& settings);
    /// Nothing more of it is run, nor told: what it works on has gone.
    void stop();

    // --- What the prelude calls

    Q_INVOKABLE QJSValue call(const QString& name, const QJSValue& values);
    Q_INVOKABLE QJSValue setNotificationHandler(const QJSValue& handler);
    Q_INVOKABLE QJSValue errorString();
    Q_INVOKABLE void print(const QString& text);
    Q_INVOKABLE void warn(const QString& text);
    Q_INVOKABLE void exit(double code);
    Q_INVOKABLE QJSValue setTimer(const QJSValue& callee, const QJSValue& values, double ms);
    Q_INVOKABLE void clearTimer(double timer);
    Q_INVOKABLE QJSValue readFile(const QString& name);
    Q_INVOKABLE QJSValue readCsv(const QString& name);
    Q_INVOKABLE QJSValue events(const QJSValue& filter);
    Q_INVOKABLE void stir() { m_isStirred = true; }

Q_SIGNALS:
    void printed(const QString& text);
    void warned(const QString& text);
    /// Once, from the event loop. The error is empty when the script came to its end or called exit().
    void ended(int code, const QString& error);

private:
    QJSValue fail(const QString& reason, QJSValue::ErrorType type = QJSValue::GenericError);
    bool prepare();
    QJSValue asked(const QString& name, const QVariantList& arguments);
    void runCallee(const QJSValue& callee, const QJSValueList& values);
    void later(const QJSValue& callee, const QVariantList& values);
    void look(const QJSValue& result);
    void end(int code, const QString& error);
    void endWhenQuiet();
    QString described(const QJSValue& error) const;
    QByteArray contentOf(const QString& name, bool* ok);

    ScriptTarget* m_target;
    Settings m_settings;
    QJSEngine m_engine;
    QJSValue m_runner;
    QJSValue m_unhandled;
    QJSValue m_notificationHandler;
    QHash<int, QTimer*> m_timers;
    int m_lastTimer = 0;
    int m_awaited = 0; // answers, and calls that are on their way
    int m_quietTurns = 0;
    bool m_isStirred = false;
    bool m_hasEnded = false;
    std::optional<int> m_exitCode;
    QTimer* m_quiet;
    std::unique_ptr<ScriptWatchdog> m_watchdog;
};
