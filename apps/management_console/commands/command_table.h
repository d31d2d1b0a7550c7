#pragma once

#include <vector>

struct CommandEntry;

/// All commands, in the order in which `help` lists them.
const std::vector<const CommandEntry*>& commandTable();
