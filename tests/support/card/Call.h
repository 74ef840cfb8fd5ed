#pragma once

#include <string>
#include <vector>

#include "pkcs11/Cryptoki.h"

namespace TestCard {

/// One PKCS#11 call as a test card sees it: its name and those arguments that the call has; the others are zero.
struct Call {
  const char* name = "";
  CK_SLOT_ID slot = 0;
  CK_SESSION_HANDLE session = 0;
  CK_OBJECT_HANDLE object = 0;
  CK_FLAGS flags = 0;
  bool notifies = false;  // a session with an application pointer or a callback
  CK_BBOOL tokenPresent = CK_FALSE;
  CK_USER_TYPE userType = 0;
  CK_MECHANISM* mechanism = nullptr;
  CK_MECHANISM_TYPE mechanismType = 0;
  CK_ATTRIBUTE* attributes = nullptr;
  CK_ULONG attributeCount = 0;
  const CK_BYTE* input = nullptr;  // data to sign, ciphertext, PIN
  CK_ULONG inputLength = 0;
  void* output = nullptr;            // signature, plaintext, list of slots or objects, info structure, handle, or the
                                     // argument of C_Initialize and C_Finalize
  CK_ULONG* outputLength = nullptr;  // of the buffer, or the count of the list
  CK_ULONG capacity = 0;             // most objects that one search call may give
};

/// The call's line in a trace, without its result: name, handles, flags, attribute types; of buffers only whether there
/// is one.
std::string Describe(const Call& call);

/// "0x" and the value's hexadecimal digits.
std::string Hex(CK_ULONG value);

/// The name of a standard attribute type, or its number.
std::string AttributeName(CK_ATTRIBUTE_TYPE type);

}  // namespace TestCard
