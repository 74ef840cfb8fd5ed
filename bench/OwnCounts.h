#pragma once

#include <functional>

#include "bench/SigningKeys.h"

/// What is counted for the product and its peers alike, with keys of the card BenchCard::kMain.
inline constexpr CK_ULONG kAgreedBytes = 32;
enum class Operation { Signature, Decryption, Agreement };

/// Makes what does one operation with a key: everything but the operation itself is done before. Empty: this user of
/// PKCS#11 has no such operation.
using OperationMaker = std::function<std::function<void()>(Operation operation, const SigningKey& key)>;

/// Lets callgrind write a profile for each operation: a signature of each key, a decryption with the RSA-2048 key, an
/// agreement of kAgreedBytes with the P-256 key. Only what runs outside of the library is in it, when that is the
/// timing forwarder. script/bench counts reads them. Returns the exit status.
int CountOperations(const OperationMaker& maker);
