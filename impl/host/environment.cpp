#include "zal/host/environment.h"

#include "zal/transport/constants.h"
#include "zal/transport/endpoints.h"
#include "zal/processors/pluginmanager.h"

namespace zal {

Environment::Environment(const std::string& frontendAddress, RouterOptions routerOptions)
    : Environment(std::make_shared<PluginManager>(), frontendAddress, routerOptions) {}

Environment::Environment(std::shared_ptr<PluginManager> pluginManager, const std::string& frontendAddress,
                         RouterOptions routerOptions)
    : frontendAddress(std::make_shared<std::string>(frontendAddress)),
      zapThread(routerOptions.curveSecretKey.empty()
                    ? nullptr
                    : std::make_unique<ZmqControllableThread<ZapHandler>>(
                          new ZapHandler(routerOptions.curveAuthorizedKeys))),
      routerThread(new Router(this->frontendAddress, routerOptions)),
      groupManagerThread(new ProcessorGroupManager(
          std::move(pluginManager), Endpoints::getGroupManagerEndpoint(internalAddressPrefixDefault))) {}

Environment::~Environment() = default;

std::string Environment::getRouterFrontendAddress() {
    return *frontendAddress;
}

}  // namespace zal
