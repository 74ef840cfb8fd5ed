#include "host/base/Failure.h"

namespace Host {
namespace {

struct Meaning {
  int64_t code;
  const char* text;
};

constexpr Meaning kTokenKitMeanings[] = {
    {-1, "not implemented"},   {-2, "communication error"},   {-3, "corrupted data"},
    {-4, "cancelled by user"}, {-5, "authentication failed"}, {-6, "object not found"},
    {-7, "token not found"},   {-8, "bad parameter"},         {-9, "authentication needed"},
};

std::string MeaningOf(const Wire::Error& error) {
  if (error.domain != kTokenKitDomain) return error.description;
  for (const Meaning& meaning : kTokenKitMeanings)
    if (meaning.code == error.code) return meaning.text;
  return "";
}

}  // namespace

bool IsTokenKitError(const std::optional<Wire::Error>& error, int64_t code) {
  return error && error->domain == kTokenKitDomain && error->code == code;
}

std::string CodeOf(const Wire::Error& error) {
  return (error.domain == kTokenKitDomain ? "TKErrorDomain" : error.domain) + " " + std::to_string(error.code);
}

std::string Describe(const std::optional<Wire::Error>& error) {
  if (!error) return "no error object";
  const std::string meaning = MeaningOf(*error);
  return CodeOf(*error) + (meaning.empty() ? "" : ", " + meaning);
}

Failure OperationFailure(const std::string& what, const std::optional<Wire::Error>& error, const std::string& hint) {
  if (IsTokenKitError(error, kCanceledByUser))
    return {ExitStatus::Cancelled, what + " was cancelled (" + CodeOf(*error) + "); try again"};
  if (IsTokenKitError(error, kBadParameter))
    return {ExitStatus::PinRefused, what + " failed: wrong PIN (" + CodeOf(*error) + "); try again with the right one"};
  const std::string reason = error ? " failed (" + Describe(error) + "); " : " failed without a reason; ";
  return {ExitStatus::Failed, what + reason + hint + (hint.empty() ? "" : " ") + "'ctkhost log' has the card's answer"};
}

}  // namespace Host
