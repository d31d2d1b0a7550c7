#pragma once

/// Whether nobody but the user of the process and root can change the file or put another one in its place: the file,
/// its folder and all folders above belong to one of them and give nobody else the right to write. (Above its folder
/// one like /tmp is good as well, in which others may write, but not touch what is not theirs.)
/// The path is an absolute one without links, in the local encoding. False for a file that is not there.
bool isProtectedFile(const char* path);
