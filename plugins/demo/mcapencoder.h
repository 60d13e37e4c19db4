// Appends MCAP's little-endian fields and length-prefixed records to a byte buffer.
#pragma once

#include <QByteArray>
#include <QtEndian>

#include "mcapformat.h"

namespace demo {

// Writes into a buffer it does not own; appending only, so a buffer reused between records keeps
// its capacity and the hot path allocates nothing once it has grown.
class McapEncoder {
public:
    explicit McapEncoder(QByteArray& buffer) : out(buffer) {}

    void u8(quint8 value) { out.append(char(value)); }
    void u16(quint16 value) { little(value); }
    void u32(quint32 value) { little(value); }
    void u64(quint64 value) { little(value); }
    // A string or byte run with its 32-bit length first.
    void string(const QByteArray& text);
    void string(const char* text);

    // Opens a record or a 32-bit-length-prefixed run (a map or an array); the matching end
    // writes the length of what was appended in between.
    qsizetype beginRecord(mcap::Opcode opcode);
    void endRecord(qsizetype start);
    qsizetype beginSized();
    void endSized(qsizetype start);

    qsizetype size() const { return out.size(); }

private:
    template <typename T>
    void little(T value) {
        const T bytes = qToLittleEndian(value);
        out.append(reinterpret_cast<const char*>(&bytes), qsizetype(sizeof(T)));
    }

    QByteArray& out;
};

}  // namespace demo
