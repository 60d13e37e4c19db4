#include "zal/host/environment.h"

#include "zal/processors/pluginmanager.h"
#include "zal/transport/constants.h"
#include "zal/transport/endpoints.h"

namespace zal {

namespace {

std::unique_ptr<ZmqControllableThread<ZapHandler>> zapThreadFor(const RouterOptions& routerOptions,
                                                                const DataCurve* dataCurve) {
    if (routerOptions.curveSecretKey.empty() && dataCurve == nullptr) {
        return nullptr;
    }
    return std::make_unique<ZmqControllableThread<ZapHandler>>(
        new ZapHandler(routerOptions.curveAuthorizedKeys,
                       dataCurve != nullptr ? dataCurve->getAuthorizedKeys() : std::vector<std::string>()));
}

}  // namespace

Environment::Environment(const std::string& frontendAddress, RouterOptions routerOptions,
                         std::shared_ptr<const DataCurve> dataCurve)
    : Environment(std::make_shared<PluginManager>(), frontendAddress, routerOptions, std::move(dataCurve)) {}

Environment::Environment(std::shared_ptr<PluginManager> pluginManager, const std::string& frontendAddress,
                         RouterOptions routerOptions, std::shared_ptr<const DataCurve> dataCurve)
    : frontendAddress(std::make_shared<std::string>(frontendAddress)),
      frontendCurve(!routerOptions.curveSecretKey.empty()),
      zapThread(zapThreadFor(routerOptions, dataCurve.get())),
      routerThread(new Router(this->frontendAddress, routerOptions)),
      groupManagerThread(new ProcessorGroupManager(
          std::move(pluginManager), Endpoints::getGroupManagerEndpoint(internalAddressPrefixDefault),
          std::move(dataCurve))) {}

Environment::~Environment() = default;

std::string Environment::getRouterFrontendAddress() {
    return *frontendAddress;
}

}  // namespace zal
