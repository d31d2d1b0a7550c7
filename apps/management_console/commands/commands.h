#pragma once

class Command;
class Session;

// One for each source in this folder.
Command* createDevicesCommand(Session& session);
Command* createDiscoverCommand(Session& session);
Command* createFirmwareCommand(Session& session);
Command* createGroupsCommand(Session& session);
Command* createHelpCommand(Session& session);
Command* createLogCommand(Session& session);
Command* createMailCommand(Session& session);
Command* createMappingCommand(Session& session);
Command* createMediaCommand(Session& session);
Command* createQuitCommand(Session& session);
Command* createReportCommand(Session& session);
Command* createSendCommand(Session& session);
Command* createServeCommand(Session& session);
Command* createUsersCommand(Session& session);
