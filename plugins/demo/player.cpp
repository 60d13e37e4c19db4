#include "player.h"

#include <QFileInfo>
#include <algorithm>

namespace demo {

namespace {

// Bounds the work between two looks at the control line.
constexpr int maxBatch = 1000;
// A long gap in a recording is waited out in steps, so the wait never outlives a Stop by much.
constexpr qint64 maxWaitMilliseconds = 100;

}  // namespace

Player::Player(const zal::ProcessorInfo& info)
    : StreamProcessor(info.processor, info.name, info.group, info.prefix) {
    // A player publishes only between Start and the end of its file, so its stream starts stopped.
    active = false;
}

void Player::handleMessage(zal::ByteStreamMessage&, zal::ZmqByteStreamInSocket*) {}

void Player::checkDataEvents() {
    StreamProcessor::checkDataEvents();
    playDue();
}

void Player::doIdleProcessing() {
    playDue();
}

void Player::playDue() {
    if (!playing || !output) {
        return;
    }
    for (int i = 0; i < maxBatch; ++i) {
        if (!hasPending) {
            if (!recording->next(pending)) {
                finish();
                return;
            }
            hasPending = true;
            if (played == 0) {
                firstTime = pending.time;
            }
        }
        if (!fullSpeed) {
            const qint64 wait = (pending.time - firstTime) - clock.nsecsElapsed();
            if (wait > 0) {
                enableIdleProcessing(int(std::min((wait + 999'999) / 1'000'000, maxWaitMilliseconds)));
                return;
            }
        }
        output->sendMessage(zal::ByteStreamMessage{pending.topic, pending.data});
        hasPending = false;
        ++played;
    }
    enableIdleProcessing(0);
}

void Player::finish() {
    // A recorder killed mid-write leaves its last record cut short: everything before it plays.
    skipped = recording->damaged() ? 1 : 0;
    StreamProcessor::stop(QString());
    playing = false;
    hasPending = false;
    done = true;
    recording.reset();
    disableIdleProcessing();
}

bool Player::start(const QString& streamName) {
    if (file.isEmpty() || !(recording = RecordingSource::openFile(file))) {
        return false;
    }
    if (!StreamProcessor::start(streamName)) {
        recording.reset();
        return false;
    }
    playing = true;
    done = false;
    skipped = 0;
    hasPending = false;
    played = 0;
    clock.start();
    enableIdleProcessing(0);
    return true;
}

bool Player::stop(const QString& streamName) {
    if (!StreamProcessor::stop(streamName)) {
        return false;
    }
    playing = false;
    hasPending = false;
    recording.reset();
    disableIdleProcessing();
    return true;
}

bool Player::setParameter(const QString& name, const QString& value) {
    if (name == "played" || name == "done" || name == "skipped") {
        return refuse(QStringLiteral("read-only"));
    }
    if (playing && (name == "file" || name == "speed")) {
        return refuse(QStringLiteral("cannot change during a play; stop it first"));
    }
    if (name == "file") {
        if (!RecordingSource::openFile(value)) {
            return refuse(QStringLiteral("'%1' cannot be read as a recording").arg(value));
        }
        file = QFileInfo(value).absoluteFilePath();
        done = false;
        return true;
    }
    if (name == "speed") {
        if (value != "recorded" && value != "full") {
            return refuse(QStringLiteral("expects 'recorded' or 'full'; got '%1'").arg(value));
        }
        fullSpeed = value == "full";
        return true;
    }
    return false;
}

bool Player::getParameter(const QString& name, QString& value) {
    if (name == "file") {
        value = file;
    } else if (name == "speed") {
        value = fullSpeed ? "full" : "recorded";
    } else if (name == "played") {
        value = QString::number(played);
    } else if (name == "done") {
        value = done ? "true" : "false";
    } else if (name == "skipped") {
        value = QString::number(skipped);
    } else {
        return false;
    }
    return true;
}

bool Player::getParameterList(QStringList& names) {
    names = {"done", "file", "played", "skipped", "speed"};
    return true;
}

}  // namespace demo
