#include "platform/wire/Client.h"

#include <unistd.h>

#include <charconv>

#include "platform/wire/Hex.h"

namespace Wire {
namespace {

using json = nlohmann::json;

[[noreturn]] void Misunderstood(const std::string& what) {
  throw ProtocolError(ProtocolError::Kind::Garbage, "the extension's answer is not understood: " + what);
}

Bytes BytesFromHex(const json& text) {
  auto bytes = FromHex(text.get_ref<const std::string&>());
  if (!bytes) {
    Misunderstood("not hexadecimal");
  }
  return *std::move(bytes);
}

int64_t NumberWithin(const json& number, int64_t least, int64_t most) {
  const auto value = number.get<int64_t>();
  if (!number.is_number_integer() || value < least || value > most) {
    Misunderstood("a number out of range");
  }
  return value;
}

Operation OperationFrom(const std::string& text) {
  int operation = 0;
  const char* const end = text.data() + text.size();
  if (const auto read = std::from_chars(text.data(), end, operation); read.ec != std::errc() || read.ptr != end) {
    Misunderstood("an operation that is no number");
  }
  return static_cast<Operation>(operation);
}

json ConstraintFrom(const json& constraint) {
  if (!constraint.is_boolean() && !constraint.is_string()) {
    Misunderstood("a constraint that is neither text nor a truth value");
  }
  return constraint;
}

std::string KindOfAuthentication(const std::string& kind) {
  if (kind != "smartCardPIN" && kind != "password" && kind != "none") {
    Misunderstood("an unknown kind of login");
  }
  return kind;
}

/// A text for people; what is longer than anybody reads is left out.
std::string TextFrom(const json& text) {
  constexpr size_t Longest = 16 * 1024;
  std::string shown = text.get<std::string>();
  if (shown.size() > Longest) {
    shown.resize(Longest);
  }
  return shown;
}

Item ItemFrom(const json& from) {
  constexpr int64_t LongestKey = 65536;  // bits
  Item item;
  const Bytes objectID = BytesFromHex(from.at("objectID"));
  item.objectID = ToHex(objectID.data(), objectID.size());
  if (const json& label = from.at("label"); !label.is_null()) {
    item.label = TextFrom(label);
  }
  for (const auto& [operation, constraint] : from.at("constraints").items()) {
    item.constraints[OperationFrom(operation)] = ConstraintFrom(constraint);
  }
  if (from.at("kind") == "certificate") {
    item.kind = Item::Kind::Certificate;
    item.certificate = BytesFromHex(from.at("certificate"));
    return item;
  }
  item.keyType = TextFrom(from.at("keyType"));
  item.keySizeInBits = static_cast<int>(NumberWithin(from.at("keySizeInBits"), 0, LongestKey));
  item.publicKeyHash = BytesFromHex(from.at("publicKeyHash"));
  item.canSign = from.at("canSign");
  item.canDecrypt = from.at("canDecrypt");
  item.canPerformKeyExchange = from.at("canPerformKeyExchange");
  item.suitableForLogin = from.at("suitableForLogin");
  return item;
}

Token TokenFrom(const json& from) {
  Token token = {from.at("token"), TextFrom(from.at("instanceID")), {}};
  for (const json& item : from.at("items")) {
    token.items.push_back(ItemFrom(item));
  }
  return token;
}

/// What `read` makes of a reply's result, or the reply's error.
template <class Read>
auto AnswerFrom(const Reply& reply, Read read) -> Answer<decltype(read(reply.result))> {
  if (!reply.ok) {
    return {std::nullopt, reply.error};
  }
  try {
    return {read(reply.result), std::nullopt};
  } catch (const json::exception& problem) {
    Misunderstood(problem.what());
  }
}

bool Done(const json&) {
  return true;
}

}  // namespace

Channel::Channel(int socket, std::optional<std::chrono::milliseconds> timeout) : m_socket(socket), m_timeout(timeout) {}

Channel::~Channel() {
  close(m_socket);
}

void Channel::GiveUpAt(int stop, int process) {
  m_patience.stop = stop;
  m_patience.process = process;
}

Reply Channel::Call(const std::string& name, json arguments, Attachment attachment) {
  if (m_timeout) {
    m_patience.deadline = std::chrono::steady_clock::now() + *m_timeout;
  }
  Send(m_socket, {{{"call", name}, {"arguments", std::move(arguments)}}, std::move(attachment)}, m_patience);
  std::optional<Message> message = Receive(m_socket, m_patience);
  if (!message) {
    throw ProtocolError(ProtocolError::Kind::Closed, "the extension's process ended without an answer");
  }
  try {
    Reply reply;
    reply.ok = message->header.at("ok");
    m_lastDuration = std::chrono::nanoseconds(message->header.value("nanoseconds", int64_t{0}));
    reply.attachment = std::move(message->attachment);
    if (reply.ok) {
      reply.result = message->header.at("result");
    } else if (const json& error = message->header.at("error"); !error.is_null()) {
      reply.error = Error{TextFrom(error.at("domain")), error.at("code"), TextFrom(error.at("description"))};
    }
    return reply;
  } catch (const json::exception& problem) {
    Misunderstood(problem.what());
  }
}

Answer<Greeting> Client::Hello() {
  return AnswerFrom(m_channel.Call("hello"), [](const json& result) {
    return Greeting{result.at("version"), result.at("driverClass"), result.at("classID")};
  });
}

Answer<Token> Client::CreateToken(const std::string& reader) {
  return AnswerFrom(m_channel.Call("createToken", {{"reader", reader}}), TokenFrom);
}

Answer<int64_t> Client::CreateSession(int64_t token) {
  return AnswerFrom(m_channel.Call("createSession", {{"token", token}}),
                    [](const json& result) { return result.at("session").get<int64_t>(); });
}

Answer<bool> Client::SupportsOperation(int64_t session, Operation operation, const std::string& key,
                                       const Algorithms& algorithms) {
  const json arguments = {
      {"session", session}, {"operation", static_cast<int>(operation)}, {"key", key}, {"algorithms", algorithms}};
  return AnswerFrom(m_channel.Call("supportsOperation", arguments),
                    [](const json& result) { return result.at("supported").get<bool>(); });
}

Answer<Bytes> Client::Operate(const char* call, json arguments, const Bytes& data) {
  const Reply reply = m_channel.Call(call, std::move(arguments), Attachment(data));
  return AnswerFrom(reply, [&](const json&) { return reply.attachment.Bytes(); });
}

Answer<Bytes> Client::SignData(int64_t session, const std::string& key, const Algorithms& algorithms,
                               const Bytes& data) {
  return Operate("signData", {{"session", session}, {"key", key}, {"algorithms", algorithms}}, data);
}

Answer<Bytes> Client::DecryptData(int64_t session, const std::string& key, const Algorithms& algorithms,
                                  const Bytes& ciphertext) {
  return Operate("decryptData", {{"session", session}, {"key", key}, {"algorithms", algorithms}}, ciphertext);
}

Answer<Bytes> Client::PerformKeyExchange(int64_t session, const std::string& key, const Algorithms& algorithms,
                                         const Bytes& publicKey, int64_t requestedSize,
                                         const std::optional<Bytes>& sharedInfo) {
  json arguments = {{"session", session}, {"key", key}, {"algorithms", algorithms}, {"requestedSize", requestedSize}};
  if (sharedInfo) {
    arguments["sharedInfo"] = ToHex(sharedInfo->data(), sharedInfo->size());
  }
  return Operate("performKeyExchange", std::move(arguments), publicKey);
}

Answer<Authentication> Client::BeginAuth(int64_t session, Operation operation, const json& constraint) {
  const json arguments = {{"session", session}, {"operation", static_cast<int>(operation)}, {"constraint", constraint}};
  return AnswerFrom(m_channel.Call("beginAuth", arguments), [](const json& result) {
    return Authentication{result.at("auth"), KindOfAuthentication(result.at("kind"))};
  });
}

Answer<bool> Client::FinishAuth(int64_t authentication, std::optional<Attachment> pin) {
  const json arguments = {{"auth", authentication}, {"hasPIN", pin.has_value()}};
  return AnswerFrom(m_channel.Call("finishAuth", arguments, pin ? *std::move(pin) : Attachment()), Done);
}

Answer<bool> Client::TerminateSession(int64_t session) {
  return AnswerFrom(m_channel.Call("terminateSession", {{"session", session}}), Done);
}

Answer<bool> Client::TerminateToken(int64_t token) {
  return AnswerFrom(m_channel.Call("terminateToken", {{"token", token}}), Done);
}

}  // namespace Wire
