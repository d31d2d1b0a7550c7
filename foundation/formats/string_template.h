#pragma once

#include <foundation/core/export.h>

#include <QtCore/QString>
#include <QtCore/QVariant>

/// Replaces placeholders in a text: $name, or ${any key}.
///
///     CStringTemplate greeting(QStringLiteral("Hello $name, $x!"));
///     greeting.substitute({{QStringLiteral("name"), QStringLiteral("Ann")}});    // "Hello Ann, ${x}!"
///
/// A plain key is a run of ASCII letters, digits and "_". The closing brace of the braced form stays in the text; the
/// texts in use rely on it. "${$}" gives a dollar sign (and the brace). A dollar sign at the very end is text, and a
/// brace that is never closed ends all replacement. Inserted values are not searched again.
class KYR_FOUNDATION_EXPORT CStringTemplate
{
public:
    explicit CStringTemplate(const QString& templateText);
    CStringTemplate(const CStringTemplate&) = default;
    CStringTemplate& operator=(const CStringTemplate&) = default;
    virtual ~CStringTemplate();

    /// The template with its placeholders replaced, in time linear to its length; keeps a copy of the values.
    virtual QString substitute(const QVariantMap& values);
    /// What stands for a key: its value as text, date and time as ISO 8601. A null text when there is none.
    virtual QString substituteKey(const QString& key) const;
    /// What stands for a key without a value: "${key}", so that it can be seen.
    virtual QString handleUnknownKey(const QString& key) const;

    void setTemplate(const QString& templateText) { m_template = templateText; }

protected:
    /// The values of the last substitution.
    const QVariantMap& values() const { return m_values; }

private:
    QString m_template;
    QVariantMap m_values;
};
