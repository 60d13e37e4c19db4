#include "recordingsource.h"

#include <QFile>

#include "mcapformat.h"
#include "mcapreader.h"
#include "recordingreader.h"

namespace demo {

std::unique_ptr<RecordingSource> RecordingSource::openFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return nullptr;
    }
    std::unique_ptr<RecordingSource> source;
    if (file.peek(mcap::magicSize) == QByteArray(mcap::magic, mcap::magicSize)) {
        source = std::make_unique<McapReader>();
    } else {
        source = std::make_unique<RecordingReader>();
    }
    if (!source->open(path)) {
        return nullptr;
    }
    return source;
}

}  // namespace demo
