// What one sweep learnt of a running system: its groups, their processors, what each said of itself and when.
#pragma once

#include <QString>
#include <QStringList>
#include <QVector>
#include <optional>

#include "zaltools/processorstatus.h"

namespace zaltools {

struct ProcessorSample {
    QString group;
    QString name;
    std::optional<ProcessorStatus> status;
    QString problem;  // why there is no status
    // When the counters were read, in milliseconds on the steady clock, within `uncertaintyMs`.
    // A busy processor takes a request late and answers as it reads its counters, so the reading
    // is near the reply's arrival: earlier by at most the reply's way back, which is taken to be no
    // longer than the quickest request of the sweep.
    double atMs = 0;
    double uncertaintyMs = 0;

    QString id() const { return group + QLatin1Char('/') + name; }
};

struct SystemSnapshot {
    QStringList groups;                   // those sampled
    QVector<ProcessorSample> processors;  // in the order they were asked
    // Every group was sampled, so a stream that feeds one of these processors is among them.
    bool everyGroup = true;
    // The tcp hosts of the frontends swept (none when it is not known): a tcp source on one of them
    // that no stream here binds is dangling, though its address is no loopback one.
    QStringList machines;
    QStringList problems;  // what the sweep could not learn, a sentence each
    int requests = 0;      // how many the sweep sent
    double startedMs = 0;
    double endedMs = 0;

    // Every group sampled and every processor gave its status: a source that no stream here binds
    // is bound by none.
    bool complete() const;
    // The index of the processor with that id; -1 when it is not here.
    int indexOf(const QString& id) const;
};

}  // namespace zaltools
