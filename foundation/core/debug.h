#pragma once

#include <foundation/core/export.h>
#include <foundation/core/item_id.h>

#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QVariant>

class QAbstractItemModel;

/// Prints "SIGNAL OUT class::name signature" as a debug message for every signal that an object emits; known as
/// CDebug::SignalEmissionDumper. Watching ends with either object.
class KYR_FOUNDATION_EXPORT CSignalEmissionDumper : public QObject
{
    Q_OBJECT

public:
    explicit CSignalEmissionDumper(QObject* parent = nullptr);

    /// Connects all signals of the object, inherited ones included.
    void connectObject(QObject* object);

private Q_SLOTS:
    void printSignal();
};

/// Says of whom the messages tell that are logged while it lives, on this thread: fields of their own in JSON lines.
///
///     const CLogFields fields({{"device", id.toLabel()}, {"peer", peer}});
///     qInfo("Device %s came", ...);   // {"time":...,"level":"INF","text":...,"device":"000.123.457","peer":...}
///
/// It lives on the stack; what an outer one says holds inside, too.
class KYR_FOUNDATION_EXPORT CLogFields
{
public:
    explicit CLogFields(const QVariantMap& fields);
    ~CLogFields();
    CLogFields(const CLogFields&) = delete;
    CLogFields& operator=(const CLogFields&) = delete;

    const QVariantMap& fields() const { return m_fields; }
    const CLogFields* outer() const { return m_outer; }

private:
    QVariantMap m_fields;
    const CLogFields* m_outer;
};

/// Where a process's messages go, and a few texts for looking into its objects.
///
///     qInstallMessageHandler(CDebug::messageOutput);
///     CDebug::setLogLevel(CDebug::logLevelStringToInt("DBG"));
///     CDebug::setMessageOutputFile(">>/var/log/gateway.log");
///     qInfo("started");        // 12:34:56.789 INF started
///
/// Messages may come from any thread. Configure the output before other threads log.
class KYR_FOUNDATION_EXPORT CDebug
{
public:
    using SignalEmissionDumper = CSignalEmissionDumper;

    CDebug() = delete;

    /// The message handler. Writes one line (time of day, level, text) and flushes it; of an embedded NUL and what
    /// follows it, nothing reaches the stream. Fatal messages are written like the others; Qt then ends the process.
    static void messageOutput(QtMsgType type, const QMessageLogContext& context, const QString& message);

    /// What is written: 5 everything, 4 (as at the start) no debug messages, 3 warnings and worse, below that only
    /// critical and fatal messages, which always are.
    static void setLogLevel(int level);
    /// The level for "DBG", "INF", "WRN", "CRT", "FTL" (5 to 1) or for a decimal number; otherwise 0 with *ok false.
    static int logLevelStringToInt(const QString& text, bool* ok = nullptr);

    /// Where lines go: "stderr" (as at the start), "stdout" or "-", "none", or a file, which is emptied first unless
    /// ">>" stands before its name. A file that cannot be opened gives false and a warning on the standard error.
    static bool setMessageOutputFile(const QString& name);

    /// The form of the lines that go out: text, as at the start, or JSON lines, an object each with "time" (ISO 8601
    /// with milliseconds and offset), "level", "text" and what CLogFields say. The ring buffer keeps text.
    static void setJsonLines(bool on);

    /// Keeps the last mebibyte of lines, see CCircularLogBuffer::getInstanceUsedAsMessageHandler(). Switching off loses
    /// them.
    static void enableCircularBuffer(bool enable);

    /// "child<-parent<-grandparent", going up at most depth times. An object without a name shows its class.
    static QString objectNameWithParents(QObject* object, int depth);

    /// One line an entry with its type, nested ones indented by two more blanks; no line feed at the end.
    static QString toString(const QVariantMap& map, const QString& indent = QString());
    static QString toString(const QVariantList& list, const QString& indent = QString());

    /// Writes a model as debug messages, one a row: its number, then its columns; "p" marks an index with children.
    static void dumpModel(const QAbstractItemModel& model);
};
