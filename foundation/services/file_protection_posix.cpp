#include <foundation/services/file_protection_p.h>

#include <string>

#include <sys/stat.h>
#include <unistd.h>

bool isProtectedFile(const char* path)
{
    std::string place = path;
    for (int above = 0; !place.empty(); ++above) {
        struct stat status = {};
        if (::lstat(place.c_str(), &status) != 0 || S_ISLNK(status.st_mode))
            return false;
        if (status.st_uid != 0 && status.st_uid != ::geteuid())
            return false;
        const bool othersWrite = (status.st_mode & (S_IWGRP | S_IWOTH)) != 0;
        if (othersWrite && (above < 2 || (status.st_mode & S_ISVTX) == 0))
            return false;
        if (place == "/")
            return true;
        const std::string::size_type slash = place.rfind('/');
        place.resize(slash == std::string::npos ? 0 : slash == 0 ? 1 : slash);
    }
    return false;
}
