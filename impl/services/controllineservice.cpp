#include "zal/services/controllineservice.h"

namespace zal {

void ControlLineService::openLine(const std::string& routerEndpoint, const std::string& identity,
                                  ControlMessageHandler& handler) {
    reader.clear();
    addCreatorSocket();
    line = std::make_unique<ControlLine>(routerEndpoint, identity, handler);
    lineIndex = line->addTo(reader);
}

void ControlLineService::process() {
    serveUntilStopped([this] {
        if (reader.getEvents(lineIndex) != 0) {
            line->processInput();
        }
    });
}

}  // namespace zal
