// Starts the system's service threads inside the host process and stops them again, in order.
#pragma once

#include <memory>
#include <string>

#include "zal/processors/datacurve.h"
#include "zal/processors/processorgroupmanagertemplate.h"
#include "zal/services/router.h"
#include "zal/services/routeroptions.h"
#include "zal/services/zaphandler.h"
#include "zal/threads/zmqcontrollablethread.h"

namespace zal {

class PluginManager;

// Construction starts the ZAP handler when the router options or the data streams ask for CURVE, then the
// router (both of its endpoints bound) and then the group manager, each start blocking until the service is
// initialised; it throws ThreadError or SocketError when a service fails to start, after stopping what had
// started. Destruction stops the group manager first (and with it every group and processor), then the
// router.
class Environment {
public:
    // Processors come from a plug-in manager over the application directory and ZAL_PLUGIN_PATH.
    // With `dataCurve`, processors serve and read tcp streams with CURVE, and the ZAP handler runs
    // for it whether or not the frontend uses CURVE.
    explicit Environment(const std::string& frontendAddress, RouterOptions routerOptions = {},
                         std::shared_ptr<const DataCurve> dataCurve = nullptr);
    Environment(std::shared_ptr<PluginManager> pluginManager, const std::string& frontendAddress,
                RouterOptions routerOptions = {}, std::shared_ptr<const DataCurve> dataCurve = nullptr);
    ~Environment();

    Environment(const Environment&) = delete;
    Environment& operator=(const Environment&) = delete;

    // Where clients connect; a wildcard TCP address comes back with its real port.
    std::string getRouterFrontendAddress();
    // Whether the frontend admits CURVE clients with authorised keys only. Clients inside the
    // process then connect to routerFrontendAddressDefault instead.
    bool frontendUsesCurve() const { return frontendCurve; }

private:
    std::shared_ptr<std::string> frontendAddress;
    bool frontendCurve;
    // Declared before the router: it must answer before the frontend is bound and until it is closed.
    std::unique_ptr<ZmqControllableThread<ZapHandler>> zapThread;
    ZmqControllableThread<Router> routerThread;
    ZmqControllableThread<ProcessorGroupManager> groupManagerThread;
};

}  // namespace zal
