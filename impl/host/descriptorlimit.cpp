#include "zal/host/descriptorlimit.h"

#include <sys/resource.h>

namespace zal {

long long DescriptorLimit::raise() {
    struct rlimit limit = {};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) {
        return -1;
    }
    if (limit.rlim_cur < limit.rlim_max) {
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
    return soft();
}

long long DescriptorLimit::soft() {
    struct rlimit limit = {};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) {
        return -1;
    }
    return limit.rlim_cur == RLIM_INFINITY ? -1 : static_cast<long long>(limit.rlim_cur);
}

}  // namespace zal
