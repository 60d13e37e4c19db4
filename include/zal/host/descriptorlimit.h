// The process's limit on open descriptors, which bounds how many processors a host can run.
#pragma once

namespace zal {

// Every ZeroMQ socket holds descriptors (a processor about eight), so the usual soft limit of 1024
// ends a host at about a hundred processors, long before the context's 4095 sockets. Programs that
// host processors raise the soft limit to the hard one at start; only root can go beyond that.
class DescriptorLimit {
public:
    // Raises the soft limit to the hard limit; returns the soft limit in force afterwards, or -1
    // when it cannot be read.
    static long long raise();
    // The soft limit in force, or -1 when it cannot be read.
    static long long soft();
};

}  // namespace zal
