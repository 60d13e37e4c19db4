// The instance object the host creates through the library's entry point: configuration in, environment up.
#pragma once

#include <QString>
#include <QStringList>
#include <memory>

#include "zal/platform/idllinstance.h"

namespace zal {

class Environment;

class EnvironmentDll : public IDllInstance {
public:
    explicit EnvironmentDll(const QString& name);
    ~EnvironmentDll() override;

    // Reads "EnvironmentAddress" from the configuration named after the instance (default: the
    // in-process frontend), "RouterDropMalformed" (default off) and the CURVE keys
    // ("CurveSecretKey" or "CurveSecretKeyFile", with "CurveAuthorizedKeysFile"; none: no CURVE;
    // for tcp data streams "CurveDataAuthorizedKeysFile" and "CurvePeerKeysFile", both optional),
    // and starts an environment there, stopping any earlier one completely first. False, with a trace, when
    // the configuration is missing or the start failed.
    bool Execute(int argc, char** argv) override;
    void Shutdown() override;

    QString getName() const { return name; }
    // The running environment, or null.
    Environment* getEnvironment() const { return environment.get(); }
    // Why the last Execute failed, as the failure itself put it; empty after a success.
    QString getLastError() const { return lastError; }

    // Every configuration key Execute reads, so that a host can point out the others as mistakes.
    static const QStringList& configurationKeys();

private:
    QString name;
    std::unique_ptr<Environment> environment;
    QString lastError;
};

}  // namespace zal
