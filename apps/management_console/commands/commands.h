#pragma once

class Command;
class Session;

// One for each source in this folder.
Command* createDiscoverCommand(Session& session);
Command* createHelpCommand(Session& session);
Command* createQuitCommand(Session& session);
