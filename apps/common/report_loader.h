#pragma once

#include <foundation/services/report_generator.h>

/// The first plugin that makes reports, from the plugin directories of the tools; not owned, there until the end of the
/// process. nullptr with a reason that names the directories.
IReportGenerator* loadReportGenerator(QString& error);
