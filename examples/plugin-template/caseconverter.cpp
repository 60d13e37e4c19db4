#include "caseconverter.h"

namespace example {

CaseConverter::CaseConverter(const zal::ProcessorInfo& info)
    : StreamProcessor(info.processor, info.name, info.group, info.prefix) {}

// Called in the processor's own thread for each message of its input; what it publishes goes out
// on its own stream under the received topic.
void CaseConverter::handleMessage(zal::ByteStreamMessage& message, zal::ZmqByteStreamInSocket*) {
    if (!active) {
        return;
    }
    message.data = upper ? message.data.toUpper() : message.data.toLower();
    output->sendMessage(message);
    ++converted;
}

// false for a name it does not know: the reply then lists the parameters it has. refuse() keeps
// the standard refusal and adds the reason a user needs.
bool CaseConverter::setParameter(const QString& name, const QString& value) {
    if (name == "converted") {
        return refuse(QStringLiteral("read-only"));
    }
    if (name != "to") {
        return false;
    }
    if (value != "upper" && value != "lower") {
        return refuse(QStringLiteral("expects 'upper' or 'lower'; got '%1'").arg(value));
    }
    upper = value == "upper";
    return true;
}

bool CaseConverter::getParameter(const QString& name, QString& value) {
    if (name == "to") {
        value = upper ? QStringLiteral("upper") : QStringLiteral("lower");
    } else if (name == "converted") {
        value = QString::number(converted);
    } else {
        return false;
    }
    return true;
}

bool CaseConverter::getParameterList(QStringList& names) {
    names = {"converted", "to"};
    return true;
}

}  // namespace example
