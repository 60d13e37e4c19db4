// Joins the snapshots of several hosts into one, so that streams of one host feed sources of another.
#pragma once

#include "zaltools/hosttable.h"
#include "zaltools/systemsnapshot.h"

namespace zaltools {

// A host's groups are named "@HOST/GROUP". Its addresses are rewritten to what they are seen as
// from another machine: a wildcard or loopback tcp host becomes the host of its frontend endpoint
// (a loopback one only when that endpoint is no loopback address, since hosts on one machine share
// loopback), and an address of another transport ("@HOST:inproc://x") stays its host's own.
class SnapshotMerge {
public:
    // Adds `host`, a snapshot taken at `entry`, to `merged`.
    static void add(SystemSnapshot& merged, const SystemSnapshot& host, const HostEntry& entry);
    // Adds that `entry` did not answer: its groups are left out.
    static void addSilent(SystemSnapshot& merged, const HostEntry& entry, const QString& why);

    // `address` of a processor at the host of `entry`, as the merged snapshot names it.
    static QString placed(const QString& address, const HostEntry& entry);
};

}  // namespace zaltools
