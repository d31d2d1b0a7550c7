#include <foundation/services/external_access.h>

IExternalAccess::~IExternalAccess() = default;
