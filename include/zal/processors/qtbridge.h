// The processor that hands every message of the byte streams it subscribes to to Qt as a signal.
#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QStringList>
#include <memory>
#include <string>

#include "zal/processors/processorbase.h"
#include "zal/transport/inputclient.h"
#include "zal/transport/messagehandler.h"
#include "zal/transport/zmqbytestreamsockettemplate.h"

namespace zal {

// Sockets, topic lists and the emission of si_message belong to the processor's thread; receivers
// in other threads get the signal queued. While initialised, the bridge is registered in
// QtRepository under its endpoint string, which is how host code finds it to connect.
class QtBridge : public QObject,
                 public ProcessorBase,
                 public MessageHandler<ZmqByteStreamInSocket, ByteStreamMessage> {
    Q_OBJECT
public:
    QtBridge(const zalmsg::Processor& processor, const std::string& name, const std::string& group,
             const std::string& prefix);
    ~QtBridge() override;

    static std::string getProcessorType() { return "QtBridge"; }

signals:
    void si_message(QByteArray type, QByteArray data);

protected:
    QString getIdForQTRepository() const;

    bool initialize() override;
    // Leaves the repository before the sockets close, so no host finds a bridge that cannot deliver.
    void release() override;
    void checkDataEvents() override;
    void handleMessage(ByteStreamMessage& message, ZmqByteStreamInSocket* socket) override;

    // An empty filter list subscribes to everything directly, outside both topic lists, so that
    // pausing with an empty topic does not end it. streamName is not used.
    bool connect(const QString& streamName, const QString& streamAddress,
                 const QVector<QString>& messageFilter) override;
    // An empty topic resumes (start) or pauses (stop) every topic ever requested; the requested
    // topics survive a pause.
    bool start(const QString& topic) override;
    bool stop(const QString& topic) override;
    bool setParameter(const QString& name, const QString& value) override;
    bool getParameter(const QString& name, QString& value) override;
    bool getParameterList(QStringList& names) override;
    bool startNewRecording(QString& parameter) override;

private:
    void subscribe(const QString& topic);
    void unsubscribe(const QString& topic);
    // A non-empty topic alone, or every requested topic in the order requested.
    void forTopics(const QString& topic, void (QtBridge::*change)(const QString&));
    void freeInput();

    std::unique_ptr<zmq::socket_t> inputSocket;
    std::unique_ptr<ZmqByteStreamInSocket> inputTemplate;
    std::unique_ptr<InputClientBase<ZmqByteStreamInSocket, ByteStreamMessage>> inputClient;
    int inputSocketIndex = -1;
    // Every topic ever passed to subscribe, without duplicates.
    QStringList requestedTopics;
    // The topics currently subscribed on inputSocket.
    QStringList subscribedTopics;
};

}  // namespace zal
