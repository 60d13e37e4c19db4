// A plug-in library for the tests: stream processors that publish on request or on a timer
// ("Source") and remember what they receive ("Sink").
#include <QStringList>

#include "zal/processors/plugin.h"
#include "zal/processors/processorinfo.h"
#include "zal/processors/streamprocessor.h"

namespace {

// Parameters: "publish" = "topic:data" sends one message; "interval" = milliseconds between
// messages on its own (0 stops); "sent" reads the number sent.
class SourceProcessor : public zal::StreamProcessor {
public:
    explicit SourceProcessor(const zal::ProcessorInfo& info)
        : StreamProcessor(info.processor, info.name, info.group, info.prefix) {}

    void handleMessage(zal::ByteStreamMessage&, zal::ZmqByteStreamInSocket*) override {}

protected:
    bool setParameter(const QString& name, const QString& value) override {
        if (name == "publish") {
            const qsizetype colon = value.indexOf(':');
            publish(value.left(colon).toUtf8(), colon < 0 ? QByteArray() : value.mid(colon + 1).toUtf8());
            return true;
        }
        if (name == "interval") {
            const int ms = value.toInt();
            ms > 0 ? enableIdleProcessing(ms) : disableIdleProcessing();
            return true;
        }
        return false;
    }
    bool getParameter(const QString& name, QString& value) override {
        if (name != "sent") {
            return false;
        }
        value = QString::number(sent);
        return true;
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

// Parameters: "received" reads "topic=data" of every message kept, joined by ";"; "count" reads
// how many arrived; "clear" forgets them. Keeps nothing while stopped.
class SinkProcessor : public zal::StreamProcessor {
public:
    explicit SinkProcessor(const zal::ProcessorInfo& info)
        : StreamProcessor(info.processor, info.name, info.group, info.prefix) {}

    void handleMessage(zal::ByteStreamMessage& message, zal::ZmqByteStreamInSocket*) override {
        ++count;
        if (active && kept.size() < 1000) {
            kept << QString::fromUtf8(message.topic + '=' + message.data);
        }
    }

protected:
    bool setParameter(const QString& name, const QString&) override {
        if (name != "clear") {
            return false;
        }
        kept.clear();
        count = 0;
        return true;
    }
    bool getParameter(const QString& name, QString& value) override {
        if (name == "received") {
            value = kept.join(';');
            return true;
        }
        if (name == "count") {
            value = QString::number(count);
            return true;
        }
        return false;
    }
    bool getParameterList(QStringList& names) override {
        names = {"clear", "count", "received"};
        return true;
    }

private:
    QStringList kept;
    long long count = 0;
};

class StreamPlugin : public zal::Plugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID ZalPlugin_iid)
    Q_INTERFACES(zal::Plugin)
public:
    QString getName() const override { return QStringLiteral("streamplugin"); }
    QStringList getProcessorTypes() const override {
        return {QStringLiteral("Source"), QStringLiteral("Sink")};
    }
    zal::ProcessorBase* createProcessor(const zal::ProcessorInfo& info) override {
        const QString type = QString::fromStdString(info.type).section('.', -1);
        if (type == "Source") {
            return new SourceProcessor(info);
        }
        if (type == "Sink") {
            return new SinkProcessor(info);
        }
        return nullptr;
    }
};

}  // namespace

#include "streamplugin.moc"
