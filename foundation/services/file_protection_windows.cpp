#include <foundation/services/file_protection_p.h>

// Who may write is a matter of access lists there, which programs' folders inherit from the installation.
bool isProtectedFile(const char*)
{
    return true;
}
