#pragma once

#include "report_texts.h"
#include "section_template.h"

#include <foundation/core/item_id.h>

#include <QtCore/QHash>

class CBaseReportServer;
class ISimpleAccessControl;

/// Gathers what a user report says about the users of the server's base model, ready for a template: the values
/// "system", "systemId", "created" and "count", and for each "user" its "name", "id", "pageBreak" and the sections
/// "property", "group", "right", "medium" and "code". A section named like one of these with an "s" is there once if
/// the list is not empty, one with "no-" before it ("no-mediums") if it is.
///
/// Server, model and texts must live as long; the base model must stay.
class ReportData
{
public:
    ReportData(CBaseReportServer& server, const ReportTexts& texts);

    /// The values of the whole report, `count` as told.
    SectionTemplate::Entry report(int count) const;
    int rows() const;
    /// False for a row whose user does not exist or has no name. "pageBreak" is "always" but for the `first`.
    bool user(int row, bool first, SectionTemplate::Entry& entry);

private:
    using Entries = QList<SectionTemplate::Entry>;

    struct Door
    {
        QVariant label;
        QVariant location;
    };

    QVariantMap validity(const QVariantMap& map) const;
    Entries properties(int row, const QVariantList& definitions);
    Entries groups(CItemId user);
    Entries rights(CItemId user);
    Entries media(const QVariantList& list) const;
    Entries codes(const QVariantList& list) const;

    CBaseReportServer& m_server;
    ISimpleAccessControl* m_model;
    const ReportTexts& m_texts;
    bool m_hasGroups = false;
    QHash<CItemId, QVariantList> m_groups; // labels, by user
    QHash<CItemId, Door> m_doors;
};
