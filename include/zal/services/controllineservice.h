// A service that answers requests on one control line until its creator tells it to stop.
#pragma once

#include <memory>
#include <string>

#include "zal/services/controlline.h"
#include "zal/threads/zmqcontrollable.h"

namespace zal {

// The group manager and every group are such services: they differ only in what they answer.
class ControlLineService : public ZmqControllable {
public:
    // Serves the line until the creator pipe speaks.
    void process() override;

protected:
    // Adds the creator pipe and then the line to the poll set.
    void openLine(const std::string& routerEndpoint, const std::string& identity,
                  ControlMessageHandler& handler);
    void closeLine() { line.reset(); }

private:
    std::unique_ptr<ControlLine> line;
    int lineIndex = -1;
};

}  // namespace zal
