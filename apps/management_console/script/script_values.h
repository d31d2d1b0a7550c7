#pragma once

#include <QtCore/QVariant>
#include <QtQml/QJSValue>

class QJSEngine;

/// Values on their way between a script and the model.
class ScriptConversion
{
public:
    static constexpr int deepest = 100;
    /// Values in one call, those within others included.
    static constexpr int most = 1000000;

    /// A value of a script as the model reads it: dates, texts, numbers, flags, lists and maps of them. False with
    /// error() for what is none of these, and for what is too large or contains itself.
    bool toVariant(const QJSValue& value, QVariant* variant);
    QString error() const { return m_error; }

    /// A value of the model as scripts know it. What they have no type for is its canonical text.
    static QJSValue toScript(QJSEngine& engine, const QVariant& value);

private:
    bool fail(const QString& reason);
    bool read(const QJSValue& value, int depth, QVariant* variant);

    int m_count = 0;
    QString m_error;
};
