// Runs a pipeline file against the host's own frontend: commands in order, plus watch and tap.
#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <QTextStream>
#include <memory>
#include <string>
#include <vector>

#include "zaltools/hostrunners.h"

class BridgeTap;
class ParameterWatch;
class PipelineFile;
struct PipelineLine;

// Every line but tap goes through the command layer that zalctl uses, so a line means what the
// same zalctl command means, at the host its @NAME names or else at this one; a watch is asked once at its
// line, so that a parameter that does not exist stops the pipeline there, and then joins the live progress
// line. tap needs the host's own event loop and process.
//   watch GROUP PROCESSOR PARAM[,PARAM...]   print those parameters once a second
//   tap GROUP BRIDGE                         print what a Qt bridge delivers
class PipelineRunner : public QObject {
    Q_OBJECT
public:
    // `hosts` are the pipeline's named hosts; `frontend` is this host's own.
    PipelineRunner(std::string frontend, const zaltools::HostTable& hosts, QTextStream& out,
                   QObject* parent = nullptr);
    ~PipelineRunner() override;

    // Runs the file's lines in order and stops at the first failing one; `error` then reads
    // "FILE:LINE: reason". A warning is printed and the pipeline goes on.
    bool run(const PipelineFile& file, QString& error);
    void printSummaries();

private:
    bool runCommand(const PipelineLine& line, QString& reason);
    bool watch(const PipelineLine& line, QString& reason);
    bool tap(const QStringList& words, QString& reason);

    std::string frontend;
    zaltools::HostRunners runners;
    QTextStream& out;
    std::unique_ptr<ParameterWatch> watches;  // made by the first watch line
    std::vector<std::unique_ptr<BridgeTap>> taps;
};
