// Edits and queries of a processor configuration, and the result fields of a reply.
#pragma once

#include <QString>
#include <QStringList>
#include <QVector>

#include "zal/msg/controlmessage.h"
#include "zal/msg/datasource.h"
#include "zal/msg/datastream.h"
#include "zal/msg/processor.h"

namespace zal {

// Data sources are identified by their address, data streams by their name, both compared
// exactly. Absence is a result (false, -1, null, empty), never an exception.
class ConfigTool {
public:
    // A copy that shares no storage with the original, for a configuration handed to another thread:
    // Qt's implicit sharing reads its reference count unordered, so two threads must not share a block.
    static zalmsg::Processor unsharedCopy(const zalmsg::Processor& processor);
    static int indexOfDataSource(const zalmsg::Processor& processor, const QString& address);
    static bool addDataSource(zalmsg::Processor& processor, const QString& address);
    // Empty filters reset the source's list (a catch-all); otherwise true when any was new.
    static bool addDataFilter(zalmsg::Processor& processor, const QString& address,
                              const QVector<QString>& filters);
    static QVector<QString> getDataFilter(zalmsg::Processor& processor, const QString& address);
    // Pointers into the processor's lists, valid until the processor changes.
    static const zalmsg::DataSource* getDataSource(const zalmsg::Processor& processor,
                                                   const QString& address);
    static const zalmsg::DataStream* getDataStream(const zalmsg::Processor& processor, const QString& name);
    static QStringList getDataStreams(const zalmsg::Processor& processor);
    static bool setStreamRunning(zalmsg::Processor& processor, const QString& name, bool running);
    static QString getAddressList(const QVector<QString>& addresses, const QString& separator);
    static QString getRootElement(const QString& xml);

    static void setResultSuccess(zalmsg::ControlMessage& message);
    static void setResultSuccess(zalmsg::ControlMessage& message, const QString& value);
    static void setWarningMessage(zalmsg::ControlMessage& message, const QString& text);
    static void setErrorMessage(zalmsg::ControlMessage& message, const QString& text);
};

}  // namespace zal
