#pragma once

#include "report_plugin/report_helper.h"
#include "shell/table.h"

/// Begins a PDF document of events, as `events` has them in its table, oldest first; `left` older ones are not among
/// them. Under each day its events, with the door, who it was and why not.
ReportHelperRun* startEventsReport(const Table& events, int left, QObject* parent);
