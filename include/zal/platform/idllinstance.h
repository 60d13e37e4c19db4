// The host framework's interface of an instance object created by a library's entry point.
#pragma once

class IDllInstance {
public:
    virtual ~IDllInstance() = default;

    // Starts the instance; the host passes its own command line.
    virtual bool Execute(int argc, char** argv) = 0;
    // Stops what Execute started; the instance may be executed again afterwards.
    virtual void Shutdown() = 0;
    // The instance's own termination step, run first by Shutdown.
    virtual void Terminate() {}
};
