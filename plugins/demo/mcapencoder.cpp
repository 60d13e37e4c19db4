#include "mcapencoder.h"

#include <cstring>

namespace demo {

void McapEncoder::string(const QByteArray& text) {
    u32(quint32(text.size()));
    out.append(text);
}

void McapEncoder::string(const char* text) {
    const auto length = qsizetype(std::strlen(text));
    u32(quint32(length));
    out.append(text, length);
}

qsizetype McapEncoder::beginRecord(mcap::Opcode opcode) {
    const qsizetype start = out.size();
    u8(quint8(opcode));
    u64(0);
    return start;
}

void McapEncoder::endRecord(qsizetype start) {
    qToLittleEndian(quint64(out.size() - start - mcap::recordPrefixSize), out.data() + start + 1);
}

qsizetype McapEncoder::beginSized() {
    const qsizetype start = out.size();
    u32(0);
    return start;
}

void McapEncoder::endSized(qsizetype start) {
    qToLittleEndian(quint32(out.size() - start - 4), out.data() + start);
}

}  // namespace demo
