// A processor's data traffic as zal reports it: the counts of its input and output, and when each last moved.
#pragma once

#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <cstdint>

#include "zal/transport/trafficcount.h"

namespace zal {

// Lives in the processor's thread with the sockets whose counts it watches. The time of the last
// message is taken once per wake-up of the processor's loop (stamp()), not per message, with a
// coarse clock: a wake-up serves up to a few hundred messages, and a reading off by a few
// milliseconds tells an operator nothing less.
class TrafficMeter {
public:
    // Watches the counts of a data input; null stops watching. The counts must outlive the watch:
    // whoever frees the socket unwatches it first. Watching the same counts again changes nothing.
    void watchInput(const TrafficCount* count);
    // The same for the output that publishes `stream`.
    void watchOutput(const TrafficCount* count, const QString& stream);
    void unwatchAll();
    // A connection of the input whose handshake failed: counted, and the last one kept as
    // "ADDRESS (REASON)". Not on the message path: a refused peer is retried a few times a second.
    void countRefusal(const QString& address, const QString& reason);
    // Once per wake-up: notes the time for each watched count that moved since the last stamp.
    void stamp();

    // {"messages":N,"bytes":N,"idleMs":N,"refused":N,"refusal":TEXT}, idleMs null before the first
    // message, refusal null before the first refused handshake; zeros when nothing is watched.
    QJsonObject input() const;
    bool hasOutput() const { return outputWatch.count != nullptr; }
    // As input(), with "stream" naming the output's stream.
    QJsonObject outputEntry() const;

private:
    struct Watch {
        const TrafficCount* count = nullptr;
        std::uint64_t stampedMessages = 0;
        // Coarse monotonic milliseconds at the stamp that saw the last message; -1: none yet.
        std::int64_t lastMessageAt = -1;
    };
    static void follow(Watch& watch, const TrafficCount* count);
    static void stampOne(Watch& watch, std::int64_t& now);
    static QJsonObject describe(const Watch& watch);

    Watch inputWatch;
    Watch outputWatch;
    QString outputStream;
    std::uint64_t refused = 0;
    QString lastRefusal;
};

}  // namespace zal
