// Corrupt binary data and hostile XML end in the data objects' exceptions, never in a crash, a hang or a
// huge allocation. Random corruption is the fuzzers' work (fuzz/).
#include <gtest/gtest.h>

#include "msgtesthelpers.h"

using namespace msgtest;
using namespace REPORTGENERATOR;
using zalmsg::ControlMessage;
using zalmsg::DataSource;

namespace {

// Parses and reports whether it was refused; any exception other than ours fails the test by escaping.
bool RefusesBinary(const QByteArray& data, bool validate = true) {
    ControlMessage message;
    message.SetValidate(validate);
    try {
        message.SetBinaryRepresentation(data);
    } catch (const ReportException&) {
        return true;
    }
    return false;
}

}  // namespace

TEST(HostileInput, LyingCountsAndLengthsAreRefusedWithoutAllocating) {
    const quint32 id = 0xAAB74DB6;
    const QByteArray type = Element(0xB4AF885C, Utf8("Query"));
    const QByteArray stream = Element(0x58D44D66, Utf8("s")) + Element(0x6CD509D2, QByteArray(2, '\1'));
    const QByteArray lying[] = {
        Element(id, Element(0x62316A1C, Be32(0x7FFFFFF0)) + type),  // a string count beyond its element
        Element(id, type + Element(0x527EBC58, Be32(0x7FFFFFFF) + Be32(4))),  // a list count beyond it
        Element(id, type + Element(0x283E37D4, Be32(0x40000000))),
        Element(id, type + Element(0x527EBC58, Be32(0xFFFFFFFF))),  // negative counts and lengths
        Element(id, type + Element(0x527EBC58, Be32(1) + Be32(0xFFFFFFF0))),
        Element(id, type + Be32(0x12345678) + Be32(0x80000000)),
        Element(id, type + Element(0x62316A1C, "ab")),  // too short for a count
        Element(id,
                type + Element(0x527EBC58, Be32(1) + Be32(8) + Utf8("x") + "pad")),  // item beyond its string
        Element(id, Element(0x62316A1C, Be32(9) + "abc") + type),  // a string beyond its element
        Element(id, type + Element(0x53F67BF4,
                                   Be32(1) + Be32(quint32(stream.size())) + stream)),  // a bad boolean
        Element(id, type + Be32(0x12345678) + Be32(1000) + "x"),  // an unknown tag running past the object
        Be32(id) + Be32(0x7FFFFFFF) + type,  // a header claiming more than the data holds
    };
    for (const QByteArray& data : lying) {
        EXPECT_TRUE(RefusesBinary(data)) << data.toHex().toStdString();
    }
    EXPECT_TRUE(RefusesBinary(lying[0], false)) << "framing errors are refused without validation too";

    // The reader reserves list room only for what the element's bytes could hold. A million items is a
    // reservation malloc grants, so an unchecked count would show in the capacity.
    ControlMessage message;
    EXPECT_THROW(
        message.SetBinaryRepresentation(Element(id, type + Element(0x527EBC58, Be32(1000000) + Be32(4)))),
        BinaryParsingException);
    EXPECT_LT(message.GetStreamAddresses().capacity(), 64);

    EXPECT_THROW(message.SetCompressedBinaryRepresentation(QByteArray("\xFF\xFF\xFF\xF0xyz", 7)),
                 BinaryParsingException);
    EXPECT_THROW(message.SetCompressedBinaryRepresentation(QByteArray("\x00\x00\x00\x10garbagegarbage", 18)),
                 BinaryParsingException);
    EXPECT_THROW(message.SetCompressedBinaryRepresentation(QByteArray(2, '\0')), BinaryParsingException);
}
