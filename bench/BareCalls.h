#pragma once

#include <functional>
#include <string>
#include <vector>

#include "pkcs11/Cryptoki.h"

/// The calls that the product makes for each operation, without the product: what it is measured beside. A test proves
/// by trace that they are the same calls with the same arguments. A call that fails ends the program.
namespace Bare {

using ByteString = std::vector<CK_BYTE>;

/// An open session of a library.
struct Card {
  CK_FUNCTION_LIST* functions;
  CK_SESSION_HANDLE session;
};

bool IsLoggedIn(const Card& card);

/// The first private key with that CKA_ID.
CK_OBJECT_HANDLE FindPrivateKey(const Card& card, const ByteString& id);

/// Login check, search, C_SignInit, C_Sign for the length, C_Sign.
ByteString Sign(const Card& card, const ByteString& id, CK_MECHANISM_TYPE mechanism, const ByteString& data);

/// C_SignInit and C_Sign, into a buffer that is large enough: the least that PKCS#11 asks for.
ByteString SignWithKey(const Card& card, CK_OBJECT_HANDLE key, CK_MECHANISM_TYPE mechanism, const ByteString& data);

ByteString Decrypt(const Card& card, const ByteString& id, const ByteString& ciphertext);

/// `point` is X and Y.
ByteString Agree(const Card& card, const ByteString& id, const ByteString& point, CK_ULONG size);

/// C_DecryptInit and C_Decrypt, into a buffer that is large enough.
ByteString DecryptWithKey(const Card& card, CK_OBJECT_HANDLE key, const ByteString& ciphertext);

/// What Agree does once it has the key.
ByteString AgreeWithKey(const Card& card, CK_OBJECT_HANDLE key, const ByteString& point, CK_ULONG size);

/// Whether the slot derives keys.
bool Derives(CK_FUNCTION_LIST* functions, CK_SLOT_ID slot);

/// What is done with each certificate's value.
using Parse = std::function<void(const ByteString& der)>;

/// The construction of a token on the slots whose description contains `reader`, and its end.
void Construct(CK_FUNCTION_LIST* functions, const std::string& reader, const Parse& parse);

}  // namespace Bare
