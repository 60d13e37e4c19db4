// Runs a pipeline file against the host's own frontend: commands in order, plus watch and tap.
#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <QTextStream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

class BridgeTap;
class ParameterWatch;
class PipelineFile;

// One command's outcome: status 0 is success; text is what the command prints.
struct CommandOutcome {
    int status = 0;
    QString text;
};

// Every line but watch and tap goes to the executor, which speaks the control protocol; watch and
// tap need the host's own event loop and process, so they live here.
//   watch GROUP PROCESSOR PARAM[,PARAM...]   print those parameters once a second
//   tap GROUP BRIDGE                         print what a Qt bridge delivers
class PipelineRunner : public QObject {
    Q_OBJECT
public:
    using Executor = std::function<CommandOutcome(const QStringList& words)>;

    PipelineRunner(std::string frontend, Executor execute, QTextStream& out, QObject* parent = nullptr);
    ~PipelineRunner() override;

    // Runs the file's lines in order and stops at the first failing one; `error` then reads
    // "FILE:LINE: reason".
    bool run(const PipelineFile& file, QString& error);
    void printSummaries();

private:
    bool runWords(const QStringList& words, QString& reason);

    std::string frontend;
    Executor execute;
    QTextStream& out;
    std::vector<std::unique_ptr<ParameterWatch>> watches;
    std::vector<std::unique_ptr<BridgeTap>> taps;
};
