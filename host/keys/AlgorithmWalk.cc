#include "host/keys/AlgorithmWalk.h"

#include <algorithm>

namespace Host {
namespace {

using Kind = Conversion::Kind;
using Wire::Operation;

struct Adaptor {
  std::string from;
  std::vector<std::string> to;  ///< appended in this order, then asked once
  Conversion conversion;
  std::optional<Operation> operation;  ///< what the token is asked for from here on; nothing: as before
};

struct Digest {
  const char* name;
  const char* saltLength;
};

constexpr Digest kDigests[] = {{"SHA1", "20"}, {"SHA224", "28"}, {"SHA256", "32"}, {"SHA384", "48"}, {"SHA512", "64"}};

constexpr char kRawSignature[] = "algid:sign:RSA:raw";
constexpr char kRawSignatureStep[] = "algid:sign:RSA:raw-cc";
constexpr char kPkcs1Digest[] = "algid:sign:RSA:digest-PKCS1v15";
constexpr char kX962Digest[] = "algid:sign:ECDSA:digest-X962";
constexpr char kRawEncryption[] = "algid:encrypt:RSA:raw";
constexpr char kRawEncryptionStep[] = "algid:encrypt:RSA:raw-cc";
constexpr char kAgreement[] = "algid:keyexchange:ECDH";

std::vector<Adaptor> MakeAdaptors() {
  const Conversion notModelled = {Kind::NotModelled, ""};
  std::vector<Adaptor> rows = {
      {kPkcs1Digest, {kRawSignatureStep}, {Kind::PadPkcs1, ""}, {}},
      {kRawSignatureStep, {kRawSignature}, {}, {}},
      {kRawSignature, {kRawSignatureStep}, {}, {}},
      {"algid:sign:ECDSA:RFC4754", {kX962Digest}, notModelled, {}},
      {kRawEncryptionStep, {kRawEncryption}, {}, {}},
      {kRawEncryption, {kRawEncryptionStep}, {}, {}},
  };
  for (const Digest& digest : kDigests) {
    const std::string name = digest.name;
    const std::string pss = ":" + name + ":" + name + ":" + digest.saltLength;
    const std::string agreement = std::string(kAgreement) + ":KDFX963:" + name;
    const Conversion hash = {Kind::Hash, name};
    rows.insert(rows.end(),
                {
                    {"algid:sign:RSA:message-PKCS1v15:" + name, {kPkcs1Digest + (":" + name)}, hash, {}},
                    {kPkcs1Digest + (":" + name), {kPkcs1Digest, kRawSignatureStep}, {Kind::WrapPkcs1, name}, {}},
                    {"algid:sign:RSA:message-PSS" + pss, {"algid:sign:RSA:digest-PSS" + pss}, hash, {}},
                    {"algid:sign:RSA:digest-PSS" + pss, {kRawSignatureStep}, notModelled, {}},
                    {"algid:sign:ECDSA:message-X962:" + name, {kX962Digest + (":" + name)}, hash, {}},
                    {kX962Digest + (":" + name), {kX962Digest}, {}, {}},
                    {"algid:encrypt:RSA:OAEP:" + name, {kRawEncryptionStep}, notModelled, {}},
                    {agreement, {kAgreement}, notModelled, {}},
                    {"algid:encrypt:ECIES:ECDH:KDFX963:" + name + ":AESGCM",
                     {agreement},
                     notModelled,
                     Operation::PerformKeyExchange},
                });
  }
  return rows;
}

const Adaptor* FindAdaptor(const std::string& algorithm) {
  static const std::vector<Adaptor> adaptors = MakeAdaptors();
  const auto found =
      std::find_if(adaptors.begin(), adaptors.end(), [&](const Adaptor& row) { return row.from == algorithm; });
  return found == adaptors.end() ? nullptr : &*found;
}

bool Contains(const Wire::Algorithms& algorithms, const std::string& algorithm) {
  return std::find(algorithms.begin(), algorithms.end(), algorithm) != algorithms.end();
}

}  // namespace

std::optional<Candidate> NextCandidate(const Candidate& candidate) {
  const Adaptor* adaptor = FindAdaptor(candidate.algorithms.back());
  if (!adaptor) return std::nullopt;
  Candidate next = candidate;
  for (const std::string& algorithm : adaptor->to) {
    if (Contains(next.algorithms, algorithm)) return std::nullopt;
    next.algorithms.push_back(algorithm);
  }
  if (adaptor->conversion.kind != Kind::None) next.conversions.push_back(adaptor->conversion);
  next.operation = adaptor->operation.value_or(candidate.operation);
  return next;
}

std::optional<Candidate> FindSupported(Operation operation, const std::string& algorithm,
                                       const std::function<bool(const Candidate&)>& supports) {
  std::optional<Candidate> candidate = Candidate{operation, {algorithm}, {}};
  while (candidate && !supports(*candidate)) candidate = NextCandidate(*candidate);
  return candidate;
}

}  // namespace Host
