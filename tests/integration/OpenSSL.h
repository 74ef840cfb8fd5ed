#pragma once

#include <string>
#include <vector>

#include "tests/support/ChildProcess.h"

/// The openssl command line: a second opinion that shares nothing with the card.
ChildResult RunOpenSSL(const std::vector<std::string>& arguments);

/// Whether `signature` is `publicKey`'s over `message`; all three are files. `algorithm` as ctkhost names it.
bool Verifies(const std::string& algorithm, const std::string& publicKey, const std::string& message,
              const std::string& signature);

/// X9.63 key derivation with SHA-1: `size` bytes.
std::string DeriveX963Sha1(const std::string& secret, size_t size, const std::string& sharedInfo);
