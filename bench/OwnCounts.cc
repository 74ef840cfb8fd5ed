#include "bench/OwnCounts.h"

#include "bench/Callgrind.h"

int CountOperations(const OperationMaker& maker) {
  const auto count = [&](const char* what, Operation operation, const SigningKey& key) {
    if (const auto run = maker(operation, key)) CountInstructions(key.name + " " + what, run);
  };
  const auto& keys = MainKeys();
  for (const SigningKey& key : keys) count("signature", Operation::Signature, key);
  count("decryption", Operation::Decryption, keys.at(0));
  count("agreement", Operation::Agreement, keys.at(2));
  return 0;
}
