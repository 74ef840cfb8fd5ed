// An extension for tests of the host. The folder named by FAKE_EXTENSION may hold a file for a call, such as
// "signData": what the call does, one line per time it is called; the last line stays. Without the
// absolute path of one it ends at once.
//
//   ok                       answers as a healthy extension would
//   error DOMAIN CODE        fails with an error object
//   none                     fails without one
//   no                       says no (supportsOperation)
//   kind KIND                begins an authentication of that kind (beginAuth)
//   slow MILLISECONDS        answers as a healthy extension would, but later
//   hang | crash | exit N    does not answer, ends by a signal, or ends
//   garbage | truncated      answers what is no message
//   answer JSON              answers with that result
//   nested DEPTH             answers with lists in lists
//   drip                     answers a byte each tenth of a second
//   leave                    ends, and leaves a process behind that keeps the socket; its number is in the file "left"
//
// Each call is appended to the file "calls", with its arguments and the length of its attachment. A PIN that finishAuth
// gets must be "1234"; another fails as a wrong PIN does.

#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <thread>

#include "platform/wire/Client.h"
#include "tests/host/FakeKey.h"

namespace {

using Wire::Message;
using json = nlohmann::json;

std::filesystem::path Folder() {
  return std::getenv("FAKE_EXTENSION");
}

Message Ok(json result, std::string attachment = "") {
  return {{{"ok", true}, {"result", std::move(result)}}, Wire::Attachment(attachment.data(), attachment.size())};
}

Message Error(const std::string& domain, int code) {
  return {{{"ok", false}, {"error", {{"domain", domain}, {"code", code}, {"description", "made up"}}}}, {}};
}

/// The line of the call's file for this time. Times are counted over all processes, in a file beside it.
std::string Instruction(const std::string& call) {
  std::ifstream script(Folder() / call);
  if (!script) return "ok";
  const auto counter = Folder() / (call + ".times");
  int times = 0;
  std::ifstream(counter) >> times;
  std::ofstream(counter) << times + 1;
  std::string line, last;
  for (int i = 0; i <= times && std::getline(script, line); ++i) last = line;
  return last;
}

json Items() {
  const json key = FakeKey();
  json second = key;
  second["objectID"] = "12a2";
  second["label"] = "twin";
  json third = second;
  third["objectID"] = "12a3";
  json unguarded = key;
  unguarded["objectID"] = "12a4";
  unguarded["label"] = "unguarded";
  unguarded["constraints"] = {{"2", false}};
  const json certificate = {{"kind", "certificate"},
                            {"certificate", "3000"},
                            {"objectID", "11a1"},
                            {"label", "first"},
                            {"constraints", {{"1", true}}}};
  return {certificate, key, second, third, unguarded};
}

Message Healthy(const std::string& call, const json& arguments, const Wire::Attachment& attachment) {
  if (call == "hello") return Ok({{"version", 1}, {"driverClass", "Fake"}, {"classID", "fake"}});
  if (call == "createToken") return Ok({{"token", 7}, {"instanceID", "QEL-FAKE"}, {"items", Items()}});
  if (call == "createSession") return Ok({{"session", 8}});
  if (call == "supportsOperation") {
    const auto last = arguments.at("algorithms").back().get<std::string>();
    return Ok({{"supported", last == "algid:sign:RSA:raw" || last == "algid:encrypt:RSA:PKCS1"}});
  }
  if (call == "beginAuth") return Ok({{"auth", 9}, {"kind", "smartCardPIN"}});
  if (call == "finishAuth") {
    const std::string pin(attachment.data(), attachment.data() + attachment.size());
    return arguments.at("hasPIN") == (pin == "1234") ? Ok(json::object()) : Error("CryptoTokenKit", -8);
  }
  if (call == "signData" || call == "decryptData" || call == "performKeyExchange") return Ok(json::object(), "result");
  return Ok(json::object());
}

void SendRaw(int socket, const char* bytes, size_t length) {
  if (send(socket, bytes, length, 0) < 0) _exit(99);
}

void SendHeader(int socket, const std::string& header) {
  std::string frame(8, '\0');
  for (size_t i = 0; i < 4; ++i) frame[i] = static_cast<char>(header.size() >> (8 * i));
  frame += header;
  for (size_t sent = 0; sent < frame.size();) {
    const ssize_t part = send(socket, frame.data() + sent, frame.size() - sent, MSG_NOSIGNAL);
    if (part < 0) _exit(99);
    sent += static_cast<size_t>(part);
  }
}

Message Follow(int socket, const std::string& instruction, const Message& request) {
  std::istringstream words(instruction);
  std::string verb, text;
  int number = 0;
  words >> verb;
  if (verb == "error") {
    words >> text >> number;
    return Error(text, number);
  }
  if (verb == "none") return {{{"ok", false}, {"error", nullptr}}, {}};
  if (verb == "no") return Ok({{"supported", false}});
  if (verb == "kind") {
    words >> text;
    return Ok({{"auth", 9}, {"kind", text}});
  }
  if (verb == "answer") return Ok(json::parse(instruction.substr(verb.size())));
  if (verb == "nested") {
    words >> number;
    SendHeader(socket, R"({"ok":true,"result":)" + std::string(static_cast<size_t>(number), '[') +
                           std::string(static_cast<size_t>(number), ']') + "}");
  }
  while (verb == "drip") {
    SendRaw(socket, "", 1);
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
  if (verb == "leave") {
    const pid_t left = fork();
    if (left == 0) pause();
    std::ofstream(Folder() / "left") << left;
    _exit(3);
  }
  if (verb == "exit") {
    words >> number;
    _exit(number);
  }
  if (verb == "slow") {
    words >> number;
    std::this_thread::sleep_for(std::chrono::milliseconds(number));
  }
  if (verb == "crash") raise(SIGSEGV);
  if (verb == "garbage") SendRaw(socket, "\x03\0\0\0\0\0\0\0{]}", 11);
  if (verb == "truncated") {
    SendRaw(socket, "\x50\0\0\0\0\0\0\0{", 9);
    _exit(0);
  }
  while (verb == "hang" || verb == "garbage" || verb == "nested") pause();
  return Healthy(request.header.at("call"), request.header.at("arguments"), request.attachment);
}

}  // namespace

int main(int argc, char** argv) {
  const char* const folder = std::getenv("FAKE_EXTENSION");
  if (!folder || folder[0] != '/') return 98;
  signal(SIGSEGV, SIG_DFL);
  const int socket = argc > 1 ? std::atoi(argv[1] + std::strlen("--host-socket=")) : -1;
  while (auto request = Wire::Receive(socket)) {
    const std::string call = request->header.at("call");
    std::ofstream(Folder() / "calls", std::ios::app)
        << call << " " << request->header.at("arguments").dump() << " " << request->attachment.size() << "\n";
    Wire::Send(socket, Follow(socket, Instruction(call), *request));
  }
  std::ofstream(Folder() / "calls", std::ios::app) << "left\n";
}
