// The constants of the MCAP container format shared by its writer and its reader.
#pragma once

#include <QtGlobal>

namespace demo::mcap {

// The file starts and ends with it; the byte after "MCAP" is the major version, '0'.
inline constexpr char magic[] = "\x89MCAP0\r\n";
inline constexpr int magicSize = 8;

enum class Opcode : quint8 {
    Header = 0x01,
    Footer = 0x02,
    Schema = 0x03,
    Channel = 0x04,
    Message = 0x05,
    Chunk = 0x06,
    MessageIndex = 0x07,
    ChunkIndex = 0x08,
    Statistics = 0x0B,
    SummaryOffset = 0x0E,
    DataEnd = 0x0F,
};

// A record is its opcode, its content length as a little-endian 64-bit number, then the content.
inline constexpr int recordPrefixSize = 1 + 8;
// What the payload of every message is to a reader: bytes nothing describes.
inline constexpr char messageEncoding[] = "application/octet-stream";

}  // namespace demo::mcap
