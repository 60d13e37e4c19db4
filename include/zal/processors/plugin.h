// The interface plug-in libraries implement: a name, the processor types offered, and their creation.
#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

namespace zal {

class ProcessorBase;
struct ProcessorInfo;

// A plug-in library's root object derives from this, declares Q_INTERFACES(zal::Plugin) and
// Q_PLUGIN_METADATA(IID ZalPlugin_iid FILE "name.json"): the manager asks every loaded root object
// for that interface identifier and ignores objects that do not answer. The JSON file describes the
// library's types and their parameters (PluginDescription); without FILE the library describes none.
class Plugin : public QObject {
    Q_OBJECT
public:
    explicit Plugin(QObject* parent = nullptr);
    ~Plugin() override;

    virtual QString getName() const = 0;
    virtual QStringList getProcessorTypes() const = 0;
    // A new processor that the caller owns, or null when this plug-in declines the request.
    // Called from the thread of the group that creates the processor.
    virtual ProcessorBase* createProcessor(const ProcessorInfo& info);
};

}  // namespace zal

#define ZalPlugin_iid "Telvo.ZALPlugins"
Q_DECLARE_INTERFACE(zal::Plugin, ZalPlugin_iid)
