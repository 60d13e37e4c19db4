// The health of one processor as the monitor colours it, judged from one sweep's row.
#pragma once

#include <QString>

#include "zaltools/topreport.h"

namespace zalmonitor {

enum class Health {
    Unknown,   // it gave no status
    Running,   // it moved messages within the idle limit
    Idle,      // it moved none for longer than the idle limit, or none ever
    Losing,    // as a consumer, it missed messages its producers published
    Dangling,  // a source of it is bound by no live stream
};

// Stateless. The worst state wins: a consumer that loses and has a dangling source is losing.
class HealthClassifier {
public:
    static constexpr qint64 idleLimitMs = 5000;

    // `lostRecently`: the processor lost messages in a sweep of the last few seconds, so that a
    // loss stays visible for longer than the one sweep it was counted in.
    static Health of(const zaltools::TopRow& row, bool lostRecently);
    static QString name(Health health);
};

}  // namespace zalmonitor
