#include <foundation/network/connection_limits_p.h>

ConnectionTiming& ConnectionTiming::current()
{
    static ConnectionTiming timing;
    return timing;
}
