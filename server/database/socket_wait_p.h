#pragma once

/// Waits until a socket can be read (and, if wanted, written), at most so many milliseconds. False when the time has
/// passed.
bool waitForSocket(long long socket, bool forWriting, int milliseconds);
