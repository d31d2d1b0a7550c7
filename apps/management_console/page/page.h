#pragma once

class FrontDoor;

/// Offers the page for people at "/", with its files under "/page/". It speaks the API of the same port; without a
/// log-in there it shows nothing of the installation.
void servePage(FrontDoor& door);
