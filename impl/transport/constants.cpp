#include "zal/transport/constants.h"

namespace zal {

// Both live in this one translation unit so that the second is always formed after the first.
const std::string internalAddressPrefixDefault = "inproc://zal";
const std::string routerFrontendAddressDefault = internalAddressPrefixDefault + "/" + "__router__external__";

}  // namespace zal
