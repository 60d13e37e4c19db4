// The cases of zal_bench; each prints its "case value unit" lines and adds its rows to the table.
#pragma once

#include <cstddef>
#include <string>

class QCoreApplication;

namespace zalbench {

class Client;

// Raw PUB->SUB at full speed, read one message per poll or drained after each poll: messages/s.
double rawStream(size_t payloadSize, bool drain, double seconds);
// 64 B and 64 KiB streams through zal against both raw readings.
void streaming(Client& client, double seconds);
// A 64 B stream into a demo.Recorder writing each format, against the same into a demo.Counter.
void recording(Client& client, double seconds);
// One-way latency of 64 B and 64 KiB at a steady rate, inproc and tcp, against raw PUB->SUB.
void latency(Client& client, double seconds);
// One flat-out 64 B stream to 1, 4 and 16 consumers against raw PUB with as many SUBs.
void fanOut(Client& client, double seconds);
// NNG's pub/sub streaming and request/reply through a device, beside zal's figures of this run.
void nngPeer(double seconds, int roundTrips);
// A long 64 B stream with resident memory sampled every second.
void soak(double seconds);

// A 64 B stream into a QtBridge received in this thread's event loop: messages/s.
double qtBridge(QCoreApplication& app, Client& client, double seconds);
// The same under glib's event loop, measured by a child process: messages/s.
double qtBridgeUnderGlib(double seconds);
// The argument that makes zal_bench that child, and the line it answers with.
extern const char* const glibCase;
extern const char* const glibLine;

// Strict round trips through a new environment at zalFrontend against raw libzmq at rawFrontend.
void control(const std::string& transport, const std::string& zalFrontend, const std::string& rawFrontend,
             int count);
// Processor and group creation and deletion, each timed from request to reply.
void lifeCycle(Client& client, int count);
// Processors created in one group until the environment refuses one, at most `cap`, with control
// round trips to the first one measured at 1, 100 and 500 processors.
void scale(int cap);

}  // namespace zalbench
