#include <zal/msg/rgexceptions.h>

namespace REPORTGENERATOR {

RGException::RGException(const QString& message) : message(message), utf8(message.toUtf8()) {}

// Out-of-line destructors anchor each type's vtable and type information in libzal, so that a catch in
// another module matches the type thrown here.
RGException::~RGException() = default;
ReportException::~ReportException() = default;
OutOfRangeException::~OutOfRangeException() = default;
IncompleteDefinitionException::~IncompleteDefinitionException() = default;
BinaryParsingException::~BinaryParsingException() = default;
InvalidXmlException::~InvalidXmlException() = default;

}  // namespace REPORTGENERATOR
