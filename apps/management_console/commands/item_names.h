#pragma once

#include <foundation/core/item_id.h>

#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QStringList>

class CSqlAccessControl;

/// What a name on the command line stands for.
enum class Named
{
    User,
    Group,
    UserOrGroup,
    Door,
    Medium,     ///< also by its UID
    Code,       ///< also by its description; never by its digits
    Credential, ///< a medium or a code
    Schedule,
    Calendar,
    Holiday,
    Device,
};

/// Finds items by what people call them. Digits are an id; where no item of the kind has it, they are a label like any
/// other text. Labels match exactly.
class ItemNames
{
public:
    explicit ItemNames(const CSqlAccessControl* model)
        : m_model(model)
    {
    }

    /// The one that is meant, or 0 with an error().
    CItemId find(Named kind, const QString& name);
    /// The same for several; one that is named twice is there once. False with an error().
    bool findAll(Named kind, const QStringList& names, QList<CItemId>& found);

    /// Names that begin so, in order, at most `limit`.
    QStringList thatBegin(Named kind, const QString& begin, int limit) const;

    /// What the last look-up failed on, in one line: what is not there, or each candidate with its id.
    QString error() const { return m_error; }
    /// Whether it failed because several are called so.
    bool isAmbiguous() const { return m_ambiguous; }

private:
    struct Candidate
    {
        CItemId id;
        QString word; // "user"
    };
    QList<Candidate> candidates(Named kind, const QString& name) const;

    const CSqlAccessControl* m_model;
    QString m_error;
    bool m_ambiguous = false;
};
