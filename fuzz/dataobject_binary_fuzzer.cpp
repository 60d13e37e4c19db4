// Fuzzes the binary readers of every data object, plain and compressed, with validation on and off.
//
// Input: one selector byte (bits 0-1 the class, bit 2 compressed, bit 3 validation on), then the
// representation itself.
#include <zal/msg/controlmessage.h>
#include <zal/msg/datasource.h>
#include <zal/msg/datastream.h>
#include <zal/msg/processor.h>
#include <zal/msg/rgexceptions.h>

#include <cstddef>
#include <cstdint>
#include <memory>

#include "fuzzcheck.h"

using REPORTGENERATOR::IRGObject;
using REPORTGENERATOR::ReportException;

namespace {

std::unique_ptr<IRGObject> makeObject(int kind) {
    switch (kind) {
        case 0:
            return std::make_unique<zalmsg::ControlMessage>();
        case 1:
            return std::make_unique<zalmsg::Processor>();
        case 2:
            return std::make_unique<zalmsg::DataSource>();
        default:
            return std::make_unique<zalmsg::DataStream>();
    }
}

bool readInto(IRGObject& object, const QByteArray& input, bool compressed, bool validate) {
    object.SetValidate(validate);
    try {
        if (compressed) {
            object.SetCompressedBinaryRepresentation(input);
        } else {
            object.SetBinaryRepresentation(input);
        }
    } catch (const ReportException&) {
        return false;
    }
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    zalfuzz::silenceQtWarnings();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1) {
        return 0;
    }
    const int kind = data[0] & 3;
    const bool compressed = (data[0] & 4) != 0;
    const bool validate = (data[0] & 8) != 0;
    const QByteArray input(reinterpret_cast<const char*>(data + 1), static_cast<qsizetype>(size - 1));

    std::unique_ptr<IRGObject> object = makeObject(kind);
    const bool read = readInto(*object, input, compressed, validate);
    // Validation only refuses more: what a strict reader accepts, the lax one reads alike.
    if (read && validate) {
        std::unique_ptr<IRGObject> lax = makeObject(kind);
        ZAL_FUZZ_CHECK(readInto(*lax, input, compressed, false));
        object->SetValidate(false);
        ZAL_FUZZ_CHECK(lax->GetBinaryRepresentation() == object->GetBinaryRepresentation());
    }
    try {
        object->Check(true);
    } catch (const ReportException&) {
    }

    // A read that failed half-way keeps what it read before the failure; that object must still
    // serialize, and whatever a data object holds must survive the XML form control messages travel in.
    object->SetValidate(false);
    const QString xml = object->GetXmlString();
    std::unique_ptr<IRGObject> fromXml = makeObject(kind);
    fromXml->SetValidate(false);
    fromXml->SetXmlString(xml, false);
    ZAL_FUZZ_CHECK(fromXml->GetXmlString() == xml);

    // Whatever was read must survive its own binary form: one round normalises it (an unset key is
    // written anyway, invalid UTF-8 becomes replacement characters), after that the form is a fixed point.
    const QByteArray first = object->GetBinaryRepresentation();
    std::unique_ptr<IRGObject> copy = makeObject(kind);
    copy->SetValidate(false);
    copy->SetBinaryRepresentation(first);
    const QByteArray second = copy->GetBinaryRepresentation();
    ZAL_FUZZ_CHECK(first == second);

    std::unique_ptr<IRGObject> unpacked = makeObject(kind);
    unpacked->SetValidate(false);
    unpacked->SetCompressedBinaryRepresentation(object->GetCompressedBinaryRepresentation());
    ZAL_FUZZ_CHECK(unpacked->GetBinaryRepresentation() == first);
    return 0;
}
