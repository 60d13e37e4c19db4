#include "signalwatcher.h"

#include <fcntl.h>
#include <unistd.h>
#include <QSocketNotifier>
#include <csignal>

namespace {

int signalPipe[2] = {-1, -1};

void onSignal(int number) {
    const unsigned char byte = static_cast<unsigned char>(number);
    [[maybe_unused]] const ssize_t written = ::write(signalPipe[1], &byte, 1);
}

}  // namespace

SignalWatcher::SignalWatcher(QObject* parent) : QObject(parent) {
    if (::pipe2(signalPipe, O_CLOEXEC | O_NONBLOCK) != 0) {
        return;
    }
    notifier = new QSocketNotifier(signalPipe[0], QSocketNotifier::Read, this);
    connect(notifier, &QSocketNotifier::activated, this, &SignalWatcher::readSignal);
    struct sigaction action = {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

SignalWatcher::~SignalWatcher() {
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    ::close(signalPipe[0]);
    ::close(signalPipe[1]);
}

void SignalWatcher::readSignal() {
    unsigned char byte = 0;
    while (::read(signalPipe[0], &byte, 1) == 1) {
        emit terminationRequested(byte);
    }
}
