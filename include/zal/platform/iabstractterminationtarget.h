// The host framework's notification for objects that must act before the process goes down.
#pragma once

class IAbstractTerminationTarget {
public:
    virtual ~IAbstractTerminationTarget() = default;
    virtual void aboutToTerminate() = 0;
};
