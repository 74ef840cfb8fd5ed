#ifndef SOFTCARD_NAMES_H
#define SOFTCARD_NAMES_H

#include <string>

#include "softcard/state/Pkcs11.h"

namespace SoftCard {

/// The standard's symbolic name, such as "CKR_OK"; "0x" and eight or more hexadecimal digits for any other value.
std::string ResultName(CK_RV result);
std::string MechanismName(CK_MECHANISM_TYPE mechanism);
std::string AttributeName(CK_ATTRIBUTE_TYPE attribute);

/// "0x" and at least `digits` upper-case hexadecimal digits.
std::string Hex(unsigned long value, int digits = 1);

}  // namespace SoftCard

#endif
