#include "parameterwatch.h"

#include "zal/msg/controlmessagehelper.h"

namespace {
constexpr int watchIntervalMs = 1000;
constexpr int watchTimeoutMs = 900;  // below the interval, so slow answers never pile up
}  // namespace

ParameterWatch::ParameterWatch(const std::string& frontend, const std::string& processorEndpoint,
                               const QString& label, const QStringList& parameters, QTextStream& out,
                               QObject* parent)
    : QObject(parent),
      client(frontend, true, watchTimeoutMs),
      destination(zal::ControlMessageHelper::makeIdentity(processorEndpoint)),
      label(label),
      parameters(parameters),
      out(out) {
    connect(&timer, &QTimer::timeout, this, &ParameterWatch::tick);
    timer.start(watchIntervalMs);
}

QString ParameterWatch::poll() {
    QStringList values;
    for (const QString& name : parameters) {
        zalmsg::ControlMessage reply;
        const bool ok = client.request(
            destination, zal::ControlMessageHelper::makeGetParameterMessage(name.toStdString()), reply);
        values << name + '=' + (ok ? reply.GetParameter() : QStringLiteral("?"));
    }
    return label + ": " + values.join(' ');
}

void ParameterWatch::tick() {
    // A carriage return keeps the progress on one line in a terminal.
    out << '\r' << poll() << "   ";
    out.flush();
}

void ParameterWatch::printSummary() {
    timer.stop();
    out << '\n' << "summary " << poll() << '\n';
    out.flush();
}
