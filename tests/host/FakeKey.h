#pragma once

#include <nlohmann/json.hpp>

/// A key item as an extension tells it, which can sign and decrypt.
inline nlohmann::json FakeKey() {
  return {{"kind", "key"},
          {"keyType", "42"},
          {"keySizeInBits", 2048},
          {"publicKeyHash", "00ff"},
          {"canSign", true},
          {"canDecrypt", true},
          {"canPerformKeyExchange", false},
          {"suitableForLogin", true},
          {"objectID", "12a1"},
          {"label", "first"},
          {"constraints", {{"2", "PINAlways"}, {"3", "PINAlways"}}}};
}
