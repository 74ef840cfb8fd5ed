#pragma once

#include <string>

namespace Report {

/// The standard's symbolic name of what a PKCS#11 call returned, such as "CKR_OK"; "0x" and at least eight hexadecimal
/// digits for any other value.
std::string ResultName(unsigned long result);

}  // namespace Report
