// A plug-in library for the tests: one processor type, "Echo", that keeps and answers parameters.
#include <QMap>

#include "zal/processors/plugin.h"
#include "zal/processors/processorbase.h"
#include "zal/processors/processorinfo.h"

namespace {

const char* const pluginName = ZAL_TEST_PLUGIN_NAME;

// Answers the parameter "plugin" with the name of the library it came from, so a test can tell
// which file the manager loaded.
class EchoProcessor : public zal::ProcessorBase {
public:
    explicit EchoProcessor(const zal::ProcessorInfo& info)
        : ProcessorBase(info.processor, info.name, info.group, info.prefix) {
        parameters.insert(QStringLiteral("plugin"), QString::fromUtf8(pluginName));
        parameters.insert(QStringLiteral("type"), QString::fromStdString(info.type));
    }

    static std::string getProcessorType() { return "Echo"; }

protected:
    bool connect(const QString&, const QString&, const QVector<QString>&) override { return false; }
    bool start(const QString&) override { return false; }
    bool stop(const QString&) override { return false; }
    bool setParameter(const QString& name, const QString& value) override {
        parameters.insert(name, value);
        return true;
    }
    bool getParameter(const QString& name, QString& value) override {
        if (!parameters.contains(name)) {
            return false;
        }
        value = parameters.value(name);
        return true;
    }
    bool getParameterList(QStringList& names) override {
        names = parameters.keys();
        return true;
    }
    bool startNewRecording(QString& parameter) override {
        parameter = parameter + QStringLiteral(" echoed");
        return true;
    }

private:
    QMap<QString, QString> parameters;
};

}  // namespace

class TestPlugin : public zal::Plugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID ZalPlugin_iid)
    Q_INTERFACES(zal::Plugin)
public:
    QString getName() const override { return QString::fromUtf8(pluginName); }
    QStringList getProcessorTypes() const override {
        return {QString::fromStdString(EchoProcessor::getProcessorType())};
    }
    // Accepts the bare and the qualified form of its type, as the built-in plug-in does.
    zal::ProcessorBase* createProcessor(const zal::ProcessorInfo& info) override {
        const QString requested = QString::fromStdString(info.type);
        const QString type = requested.mid(requested.indexOf(QLatin1Char('.')) + 1);
        return getProcessorTypes().contains(type) ? new EchoProcessor(info) : nullptr;
    }
};

#include "testplugin.moc"
