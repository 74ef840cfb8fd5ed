// Requests of any kind to the extension's process: every call, with identifiers, keys, algorithms and texts that fit
// and that do not.

#include <cstdint>

#include "fuzz/BentCard.h"
#include "fuzz/ExtensionUnderFuzz.h"

namespace {

using nlohmann::json;

json AnyValue(FuzzedDataProvider& input) {
  static const char* const kTexts[] = {ExtensionUnderFuzz::kReader, "120100", "120101", "220100",      "PINAlways",
                                       "algid:sign:RSA:raw",        "",       "1",      "smartCardPIN"};
  switch (input.ConsumeIntegralInRange(0, 7)) {
    case 0:
      return input.ConsumeIntegral<int64_t>();
    case 1:
      return input.ConsumeRandomLengthString(30);
    case 2:
      return input.ConsumeBool();
    case 3:
      return nullptr;
    case 4:
      return input.PickValueInArray(kTexts);
    case 5:
      return json::array({"algid:sign:RSA:digest-PKCS1v15", "algid:sign:RSA:raw"});
    case 6: {
      const json parsed = json::parse(input.ConsumeRandomLengthString(30), nullptr, false);
      return parsed.is_number_float() ? json() : parsed;  // no message that is received has one
    }
    default:
      return input.ConsumeIntegralInRange(0, 6);
  }
}

/// What a request of each kind needs; some of it bent.
json AnyArguments(FuzzedDataProvider& input) {
  json arguments = {{"reader", ExtensionUnderFuzz::kReader},
                    {"token", 1},
                    {"session", 2},
                    {"auth", input.ConsumeIntegralInRange(3, 6)},
                    {"operation", input.ConsumeIntegralInRange(1, 4)},
                    {"key", input.ConsumeBool() ? "120100" : "120101"},
                    {"algorithms", {"algid:sign:RSA:digest-PKCS1v15", "algid:sign:RSA:raw"}},
                    {"constraint", "PINAlways"},
                    {"hasPIN", input.ConsumeBool()},
                    {"requestedSize", 32}};
  static const char* const kNames[] = {"reader",     "token",      "session", "auth",          "operation", "key",
                                       "algorithms", "constraint", "hasPIN",  "requestedSize", "sharedInfo"};
  for (int changes = input.ConsumeIntegralInRange(0, 2); changes > 0; --changes) {
    const char* name = input.PickValueInArray(kNames);
    if (input.ConsumeBool()) {
      arguments[name] = AnyValue(input);
    } else {
      arguments.erase(name);
    }
  }
  return arguments;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const char* const kCalls[] = {"hello",      "createToken",      "createSession",      "supportsOperation",
                                       "signData",   "decryptData",      "performKeyExchange", "beginAuth",
                                       "finishAuth", "terminateSession", "terminateToken",     "unknown"};
  FuzzedDataProvider input(data, size), noBends(nullptr, 0);
  BentCard card(noBends);
  {
    ExtensionUnderFuzz extension;
    for (int requests = 0; requests < 12 && input.remaining_bytes() > 0; ++requests) {
      const char* call = input.PickValueInArray(kCalls);
      const json arguments = AnyArguments(input);
      extension.Ask(call, arguments, input.ConsumeRandomLengthString(64));
    }
  }
  if (!card.IsBalanced()) std::abort();
  return 0;
}
