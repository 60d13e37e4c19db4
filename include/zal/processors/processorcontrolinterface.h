// The operations by which a processor is driven: streams, parameters, recordings and queries.
#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

#include "zal/msg/datasource.h"
#include "zal/msg/datastream.h"

namespace zal {

// Every operation returns true for success; the control protocol turns false into the failure
// text of the request. Called only in the processor's own thread.
class ProcessorControlInterface {
public:
    virtual bool connect(const QString& streamName, const QString& streamAddress,
                         const QVector<QString>& messageFilter) = 0;
    virtual bool start(const QString& streamName) = 0;
    virtual bool stop(const QString& streamName) = 0;
    virtual bool setParameter(const QString& name, const QString& value) = 0;
    virtual bool getParameter(const QString& name, QString& value) = 0;
    virtual bool getParameterList(QStringList& names) = 0;
    // In and out: the value that comes back is returned to the requester.
    virtual bool startNewRecording(QString& parameter) = 0;
    virtual bool querySources(QVector<zalmsg::DataSource>& sources) = 0;
    virtual bool queryStreams(QVector<zalmsg::DataStream>& streams) = 0;

protected:
    ~ProcessorControlInterface() = default;
};

}  // namespace zal
