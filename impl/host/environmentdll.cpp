#include "zal/environmentdll.h"

#include "zal/constants.h"
#include "zal/environment.h"
#include "zal/errorhandler.h"
#include "zal/icfg.h"

namespace zal {

namespace {
constexpr int configurationView = 2;
}

EnvironmentDll::EnvironmentDll(const QString& name) : name(name) {}

EnvironmentDll::~EnvironmentDll() = default;

bool EnvironmentDll::Execute(int, char**) {
    try {
        std::unique_ptr<ICfg> cfg = CfgCenter::CreateCfg(name, configurationView, QString());
        if (!cfg) {
            if (ErrorHandler::isTracing()) {
                _Q_Trace(QStringLiteral("Invalid configuration of EnvironmentDll"), "environmentdll", 31);
            }
            return false;
        }
        const std::string address = cfg->readString(QStringLiteral("EnvironmentAddress"),
                                                    QString::fromStdString(routerFrontendAddressDefault))
                                        .toStdString();
        RouterOptions routerOptions;
        routerOptions.dropMalformed = cfg->readBool(QStringLiteral("RouterDropMalformed"), false);
        // The old environment holds the endpoints the new one binds: it goes first, completely.
        environment.reset();
        environment = std::make_unique<Environment>(address, routerOptions);
        return true;
    } catch (const std::exception& e) {
        if (ErrorHandler::isTracing()) {
            _Q_Trace(QStringLiteral("Caught unknown exception in EnvironmentDll::Execute: %1").arg(e.what()),
                     "environmentdll", __LINE__);
        }
    } catch (...) {
        if (ErrorHandler::isTracing()) {
            _Q_Trace(QStringLiteral("Caught unknown exception in EnvironmentDll::Execute"), "environmentdll",
                     __LINE__);
        }
    }
    return false;
}

void EnvironmentDll::Shutdown() {
    Terminate();
    environment.reset();
}

}  // namespace zal
