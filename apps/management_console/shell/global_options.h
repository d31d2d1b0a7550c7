#pragma once

#include "common/app_options.h"

#include <vector>

struct CommandEntry;

/// The options of the program itself, in front of a command.
void addGlobalOptions(AppOptions& options);

/// What is to be said of environment variables that look like options of the program or of one of its commands and are
/// none: a line each.
QStringList mistakenVariables(const AppOptions& global, const std::vector<const CommandEntry*>& commands);
