/// What the smart-card service asks an extension, over the socket that the extension's process inherited.
///
/// A request's header is {"call": NAME, "arguments": {...}}. An answer's is {"ok": true, "result": {...}}, or
/// {"ok": false, "error": ERROR} with ERROR null when the extension failed without an error object, else {"domain",
/// "code", "description"}. Domain "NSException" stands for an exception that the extension raised, with the exception's
/// name and reason as description; domain "Wire" for a request that the extension's process does not understand. Each
/// answer may tell with "nanoseconds" how long the extension's process took for it.

#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "platform/wire/Message.h"

namespace Wire {

/// An error object of the extension.
struct Error {
  std::string domain;
  int64_t code = 0;
  std::string description;
};

/// A value, or none and perhaps the reason: an extension may fail without an error object.
template <class T>
struct Answer {
  std::optional<T> value;
  std::optional<Error> error;
  explicit operator bool() const { return value.has_value(); }
  const T& operator*() const { return *value; }
  const T* operator->() const { return &*value; }
};

struct Reply {
  bool ok = false;
  nlohmann::json result;
  std::optional<Error> error;
  Attachment attachment;
};

/// One socket to one extension. Calls are answered in order; one thread at a time.
class Channel {
 public:
  /// Owns `socket`. `timeout` is how long a request and its answer may take together.
  explicit Channel(int socket, std::optional<std::chrono::milliseconds> timeout = std::nullopt);
  ~Channel();
  Channel(const Channel&) = delete;
  Channel& operator=(const Channel&) = delete;

  /// Beside the time: calls end when `stop` can be read from, or the process of process descriptor `process` has ended.
  /// Both are the caller's; -1: none.
  void GiveUpAt(int stop, int process);

  /// Sends a request and waits for its answer. Throws ProtocolError, after which the channel is of no use.
  Reply Call(const std::string& name, nlohmann::json arguments = nlohmann::json::object(), Attachment attachment = {});

  /// How long the extension's process took for the last answer, or 0 when it did not tell.
  std::chrono::nanoseconds LastDuration() const { return m_lastDuration; }

 private:
  int m_socket;
  std::optional<std::chrono::milliseconds> m_timeout;
  Patience m_patience;
  std::chrono::nanoseconds m_lastDuration{0};
};

/// Numbers as TKTokenOperation has them.
enum class Operation { ReadData = 1, SignData = 2, DecryptData = 3, PerformKeyExchange = 4 };

struct Greeting {
  int version = 0;  ///< of the protocol; this is ProtocolVersion
  std::string driverClass;
  std::string classID;
};

constexpr int ProtocolVersion = 1;

struct Item {
  enum class Kind { Certificate, Key };
  Kind kind = Kind::Key;
  std::string objectID;  ///< hexadecimal
  std::optional<std::string> label;
  std::map<Operation, nlohmann::json> constraints;  ///< true, false, or a text of the extension's own
  // Of certificates:
  std::vector<uint8_t> certificate;  ///< DER
  // Of keys:
  std::string keyType;  ///< value of kSecAttrKeyTypeRSA or kSecAttrKeyTypeECSECPrimeRandom
  int keySizeInBits = 0;
  std::vector<uint8_t> publicKeyHash;
  bool canSign = false;
  bool canDecrypt = false;
  bool canPerformKeyExchange = false;
  bool suitableForLogin = false;
};

struct Token {
  int64_t id = 0;
  std::string instanceID;
  std::vector<Item> items;
};

struct Authentication {
  int64_t id = 0;
  std::string kind;  ///< "smartCardPIN" and "password" want a PIN, "none" does not
};

/// The algorithms of a request in the order of the conversions; the data is in the form of the last.
using Algorithms = std::vector<std::string>;
using Bytes = std::vector<uint8_t>;

/// The calls, each with its own types. Each throws ProtocolError as Channel::Call does, and Garbage for an answer whose
/// values are of other types or out of all reason; an identifier that the extension's process does not know gives an
/// error of domain "Wire".
class Client {
 public:
  /// Uses `channel`, which outlives the client.
  explicit Client(Channel& channel) : m_channel(channel) {}

  Answer<Greeting> Hello();
  Answer<Token> CreateToken(const std::string& reader);
  Answer<int64_t> CreateSession(int64_t token);
  Answer<bool> SupportsOperation(int64_t session, Operation operation, const std::string& key,
                                 const Algorithms& algorithms);
  Answer<Bytes> SignData(int64_t session, const std::string& key, const Algorithms& algorithms, const Bytes& data);
  Answer<Bytes> DecryptData(int64_t session, const std::string& key, const Algorithms& algorithms,
                            const Bytes& ciphertext);
  /// `requestedSize` in bytes.
  Answer<Bytes> PerformKeyExchange(int64_t session, const std::string& key, const Algorithms& algorithms,
                                   const Bytes& publicKey, int64_t requestedSize,
                                   const std::optional<Bytes>& sharedInfo);
  Answer<Authentication> BeginAuth(int64_t session, Operation operation, const nlohmann::json& constraint);
  /// `pin` is wiped when the call returns; nothing: none is set.
  Answer<bool> FinishAuth(int64_t authentication, std::optional<Attachment> pin);
  Answer<bool> TerminateSession(int64_t session);
  /// Ends the token's sessions first.
  Answer<bool> TerminateToken(int64_t token);

 private:
  Answer<Bytes> Operate(const char* call, nlohmann::json arguments, const Bytes& data);

  Channel& m_channel;
};

}  // namespace Wire
