// A plug-in library for the fault tests: processors that throw or block where a careless plug-in
// would, so the tests can check that the failure stays with the processor that caused it.
#include <QStringList>
#include <chrono>
#include <stdexcept>
#include <zmq.hpp>

#include "zal/transport/context.h"
#include "zal/processors/plugin.h"
#include "zal/processors/processorbase.h"
#include "zal/processors/processorinfo.h"
#include "zal/processors/streamprocessor.h"

namespace {

// Fails its start after the base has opened every socket, so the frame has something to release.
class InitThrows : public zal::ProcessorBase {
public:
    explicit InitThrows(const zal::ProcessorInfo& info)
        : ProcessorBase(info.processor, info.name, info.group, info.prefix) {}

    bool initialize() override {
        if (!ProcessorBase::initialize()) {
            return false;
        }
        throw std::runtime_error("initialize refused on purpose");
    }

protected:
    bool connect(const QString&, const QString&, const QVector<QString>&) override { return false; }
    bool start(const QString&) override { return false; }
    bool stop(const QString&) override { return false; }
    bool setParameter(const QString&, const QString&) override { return false; }
    bool getParameter(const QString&, QString&) override { return false; }
    bool getParameterList(QStringList&) override { return false; }
    bool startNewRecording(QString&) override { return false; }
};

// Data with the topic "throw" makes its handler throw a std::exception, "throw-other" something
// that is not one; every other message is counted ("count"). The parameters "throw" and
// "throw-other" throw the same way from the control path. "block" = an address holds the control
// handler until a message arrives there, or for at most 10 s (then the request is refused): a
// test releases it when it has seen what it wanted while the processor was stuck.
class Misbehaving : public zal::StreamProcessor {
public:
    explicit Misbehaving(const zal::ProcessorInfo& info)
        : StreamProcessor(info.processor, info.name, info.group, info.prefix) {}

    void handleMessage(zal::ByteStreamMessage& message, zal::ZmqByteStreamInSocket*) override {
        misbehave(message.topic);
        ++count;
    }

protected:
    bool setParameter(const QString& name, const QString& value) override {
        if (name == "block") {
            zmq::socket_t release(*zal::Context::getZMQContext(), zmq::socket_type::pull);
            release.set(zmq::sockopt::linger, 0);
            release.bind(value.toStdString());
            zmq::pollitem_t item{release.handle(), 0, ZMQ_POLLIN, 0};
            return zmq::poll(&item, 1, std::chrono::milliseconds(10000)) == 1;
        }
        misbehave(name.toUtf8());
        return false;
    }
    bool getParameter(const QString& name, QString& value) override {
        if (name != "count") {
            return false;
        }
        value = QString::number(count);
        return true;
    }
    bool getParameterList(QStringList& names) override {
        names = {"block", "count", "throw", "throw-other"};
        return true;
    }

private:
    static void misbehave(const QByteArray& what) {
        if (what == "throw") {
            throw std::runtime_error("handler failed on purpose");
        }
        if (what == "throw-other") {
            throw 42;
        }
    }

    long long count = 0;
};

class FaultPlugin : public zal::Plugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID ZalPlugin_iid)
    Q_INTERFACES(zal::Plugin)
public:
    QString getName() const override { return QStringLiteral("faultplugin"); }
    QStringList getProcessorTypes() const override {
        return {QStringLiteral("InitThrows"), QStringLiteral("Misbehaving"), QStringLiteral("CreateThrows"),
                QStringLiteral("CreateThrowsOther")};
    }
    // "CreateThrows" and "CreateThrowsOther" fail in the plug-in itself, in the group's thread.
    zal::ProcessorBase* createProcessor(const zal::ProcessorInfo& info) override {
        const QString type = QString::fromStdString(info.type).section('.', -1);
        if (type == "InitThrows") {
            return new InitThrows(info);
        }
        if (type == "Misbehaving") {
            return new Misbehaving(info);
        }
        if (type == "CreateThrows") {
            throw std::runtime_error("plug-in refused on purpose");
        }
        if (type == "CreateThrowsOther") {
            throw 42;
        }
        return nullptr;
    }
};

}  // namespace

#include "faultplugin.moc"
