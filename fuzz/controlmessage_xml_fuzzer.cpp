// Fuzzes the XML reader of control messages through the payload path every service takes on a request.
#include <zal/msg/controlmessagehelper.h>
#include <zal/msg/rgexceptions.h>

#include <cstddef>
#include <cstdint>

#include "fuzzcheck.h"

using zal::ControlMessageHelper;

namespace {

// The reply to whatever arrived is sent back as XML, so it must read back to the same payload; a reply
// that its own sender cannot read would leave a client without an answer.
void checkReplyRoundTrip(const zalmsg::ControlMessage& reply) {
    const QByteArray payload = ControlMessageHelper::toPayload(reply);
    zalmsg::ControlMessage echoed;
    ZAL_FUZZ_CHECK(ControlMessageHelper::decodeRequest(payload, echoed));
    ZAL_FUZZ_CHECK(ControlMessageHelper::toPayload(echoed) == payload);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    zalfuzz::silenceQtWarnings();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray payload(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));

    zalmsg::ControlMessage request;
    const bool decoded = ControlMessageHelper::decodeRequest(payload, request);
    if (decoded) {
        try {
            request.Check(true);
        } catch (const REPORTGENERATOR::OutOfRangeException&) {
        }
        request.SetResultType(zalmsg::ControlMessage::ResultType::Warning);
    }
    checkReplyRoundTrip(request);

    // Validation only refuses more: what a strict reader accepts, the lax one accepts alike.
    const qsizetype end = payload.indexOf('\0');
    zalmsg::ControlMessage strict;
    bool strictRead = true;
    try {
        strict.SetXmlString(QString::fromUtf8(payload.constData(), end < 0 ? payload.size() : end), true);
    } catch (const REPORTGENERATOR::ReportException&) {
        strictRead = false;
    }
    ZAL_FUZZ_CHECK(strict.GetValidate());
    if (strictRead) {
        zalmsg::ControlMessage lax;
        ZAL_FUZZ_CHECK(ControlMessageHelper::decodeRequest(payload, lax));
        ZAL_FUZZ_CHECK(ControlMessageHelper::toPayload(strict) == ControlMessageHelper::toPayload(lax));
    }
    return 0;
}
