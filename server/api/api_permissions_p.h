#pragma once

#include <server/api/api_call_p.h>
#include <server/api/api_catalog_p.h>

#include <QtCore/QVector>

class CSqlAccessControl;

/// What a session may do with a method, its parameters and its result. The table of rules says what each method takes;
/// what its parameters ask for beyond that is decided here: of groups, relations, codes.
class ApiPermissions
{
public:
    /// The model outlives it.
    explicit ApiPermissions(CSqlAccessControl* model)
        : m_model(model)
    {
    }

    /// Whether the rule lets the session in; before its parameters are looked at.
    static bool isLetIn(const ApiRule& rule, const ApiSession& session);
    /// False when the method takes a collection and there is none of that name.
    static bool isCollectionKnown(const ApiMethod& method, const QVariantList& arguments);
    /// The permission that the session lacks for these parameters; empty when it lacks none.
    QString lacking(const ApiMethod& method, const QVariantList& arguments, const ApiSession& session) const;
    /// The parameters, asking for no more than the session may read.
    static QVariantList narrowed(const ApiMethod& method, QVariantList arguments, const ApiSession& session);
    /// The result without what is read along and the session may not read.
    static QVariant concealed(const ApiMethod& method, const QVariantList& arguments, const QVariant& result,
                              const ApiSession& session);

private:
    // In the order in which they are told.
    QVector<Permission> needsOfGroups(const QStringList& ids) const;
    static QVector<Permission> needsOfReading(const ApiMethod& method, const QVariantList& arguments,
                                              const ApiSession& session);
    QVector<Permission> needsOfChanging(const ApiMethod& method, const QVariantList& arguments) const;
    int classOf(const QString& id) const;

    CSqlAccessControl* m_model;
};
