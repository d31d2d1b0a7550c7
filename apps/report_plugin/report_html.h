#pragma once

#include "section_template.h"

class CBaseReportServer;

/// What a user report says about the users of the server's base model, ready for a template: the values "system",
/// "systemId", "created" and "count", and for each "user" its "name", "id", "pageBreak" and the sections "property",
/// "group", "right", "medium" and "code". A section named like one of these with an "s" is there once if the list is
/// not empty, one with "no-" before it ("no-mediums") if it is.
SectionTemplate::Entry userReport(CBaseReportServer& server);
