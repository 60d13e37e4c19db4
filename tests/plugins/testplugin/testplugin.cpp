// The plug-in library of the tests: a processor that keeps and echoes parameters ("Echo"), stream
// processors that publish ("Source") and remember what they receive ("Sink"), and processors and
// types that fail on purpose, so a test can check that a failure stays where it happened.
#include <QMap>
#include <chrono>
#include <stdexcept>
#include <zmq.hpp>

#include "zal/processors/plugin.h"
#include "zal/processors/processorinfo.h"
#include "zal/processors/streamprocessor.h"
#include "zal/transport/context.h"

namespace {

const char* const pluginName = ZAL_TEST_PLUGIN_NAME;

// Keeps every parameter it is given and answers a new recording with the request's text and
// " echoed". As "InitThrows" it fails its start after the base has opened every socket, so the
// frame has something to release.
class Echo : public zal::ProcessorBase {
public:
    explicit Echo(const zal::ProcessorInfo& info)
        : ProcessorBase(info.processor, info.name, info.group, info.prefix),
          failStart(info.type.find("InitThrows") != std::string::npos) {}

    bool initialize() override {
        const bool started = ProcessorBase::initialize();
        if (started && failStart) {
            throw std::runtime_error("initialize refused on purpose");
        }
        return started;
    }

protected:
    bool connect(const QString&, const QString&, const QVector<QString>&) override { return false; }
    bool start(const QString&) override { return false; }
    bool stop(const QString&) override { return false; }
    bool setParameter(const QString& name, const QString& value) override {
        parameters.insert(name, value);
        return true;
    }
    bool getParameter(const QString& name, QString& value) override {
        value = parameters.value(name);
        return parameters.contains(name);
    }
    bool getParameterList(QStringList& names) override {
        names = parameters.keys();
        return true;
    }
    bool startNewRecording(QString& parameter) override {
        parameter += QStringLiteral(" echoed");
        return true;
    }

private:
    QMap<QString, QString> parameters;
    bool failStart;
};

// Parameters: "publish" = "topic:data" sends one message; "interval" = milliseconds between
// messages on its own (0 stops); "sent" reads the number sent.
class Source : public zal::StreamProcessor {
public:
    explicit Source(const zal::ProcessorInfo& info)
        : StreamProcessor(info.processor, info.name, info.group, info.prefix) {}
    void handleMessage(zal::ByteStreamMessage&, zal::ZmqByteStreamInSocket*) override {}

protected:
    bool setParameter(const QString& name, const QString& value) override {
        if (name == "publish") {
            const qsizetype colon = value.indexOf(':');
            publish(value.left(colon).toUtf8(), colon < 0 ? QByteArray() : value.mid(colon + 1).toUtf8());
        } else if (name == "interval") {
            value.toInt() > 0 ? enableIdleProcessing(value.toInt()) : disableIdleProcessing();
        }
        return name == "publish" || name == "interval";
    }
    bool getParameter(const QString& name, QString& value) override {
        value = QString::number(sent);
        return name == "sent";
    }
    bool getParameterList(QStringList& names) override {
        names = {"interval", "publish", "sent"};
        return true;
    }
    void doIdleProcessing() override {
        if (active) {
            publish("tick", QByteArray::number(sent));
        }
    }

private:
    void publish(const QByteArray& topic, const QByteArray& data) {
        output->sendMessage(zal::ByteStreamMessage{topic, data});
        ++sent;
    }
    long long sent = 0;
};

// Parameters: "received" reads "topic=data" of the messages kept (none while stopped), joined by
// ";"; "count" how many arrived; "clear" forgets them. The topic or parameter "throw" throws a
// std::exception from its handler, "throw-other" something else (such data is not counted).
// "block" = an address holds the control handler until a message arrives there (or refuses after 10 s).
class Sink : public zal::StreamProcessor {
public:
    explicit Sink(const zal::ProcessorInfo& info)
        : StreamProcessor(info.processor, info.name, info.group, info.prefix) {}

    void handleMessage(zal::ByteStreamMessage& message, zal::ZmqByteStreamInSocket*) override {
        misbehave(message.topic);
        ++count;
        if (active && kept.size() < 1000) {
            kept << QString::fromUtf8(message.topic + '=' + message.data);
        }
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
        if (name == "clear") {
            kept.clear();
            count = 0;
        }
        return name == "clear";
    }
    bool getParameter(const QString& name, QString& value) override {
        value = name == "received" ? kept.join(';') : QString::number(count);
        return name == "received" || name == "count";
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
    QStringList kept;
    long long count = 0;
};

}  // namespace

class TestPlugin : public zal::Plugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID ZalPlugin_iid)
    Q_INTERFACES(zal::Plugin)
public:
    QString getName() const override { return QString::fromUtf8(pluginName); }
    QStringList getProcessorTypes() const override {
        return {"Echo", "InitThrows", "Source", "Sink", "CreateThrows", "CreateThrowsOther"};
    }
    // Accepts the bare and the qualified form of its types, as the built-in plug-in does. The
    // "CreateThrows" types fail in the plug-in itself, in the group's thread.
    zal::ProcessorBase* createProcessor(const zal::ProcessorInfo& info) override {
        const QString type = QString::fromStdString(info.type).section('.', -1);
        if (type == "CreateThrows") {
            throw std::runtime_error("plug-in refused on purpose");
        }
        if (type == "CreateThrowsOther") {
            throw 42;
        }
        if (type == "Source") {
            return new Source(info);
        }
        if (type == "Sink") {
            return new Sink(info);
        }
        return type == "Echo" || type == "InitThrows" ? new Echo(info) : nullptr;
    }
};

#include "testplugin.moc"
