// The golden traces, told to the extension's process as the smart-card service does: what is compiled into the bundle's
// executable, and not into the test, makes the calls.

#include <stdlib.h>

#include <algorithm>
#include <fstream>

#include "host/extension/ExtensionProcess.h"
#include "tests/golden/GoldenTrace.h"
#include "tests/golden/Stories.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

constexpr char kRaw[] = "algid:sign:RSA:raw", kEcdsa[] = "algid:sign:ECDSA:digest-X962";
constexpr char kPss[] = "algid:sign:RSA:digest-PSS:SHA256:SHA256:32", kEncryption[] = "algid:encrypt:RSA:PKCS1";
constexpr char kExchange[] = "algid:keyexchange:ECDH:KDFX963:SHA1";
constexpr std::chrono::seconds kPatience{60};

/// A process of its own for one story, whose user has a home of its own.
class StoryProcess {
 public:
  StoryProcess(const StoryContents& contents, const Fault& fault)
      : m_process(STORY_BUNDLE, kPatience, {}, Host::Confinement::Entitlements) {
    std::string story =
        std::to_string(contents.slots) + " " + std::to_string(contents.keysPerSlot) + (contents.rsa ? " 1" : " 0");
    if (fault.call != nullptr)
      story += std::string(" ") + fault.call + " " + std::to_string(fault.rv) + " " + std::to_string(fault.occurrence);
    setenv("QEL_STORY", story.c_str(), 1);
    setenv("QEL_STORY_TRACE", TracePath().c_str(), 1);
    setenv("HOME", m_folder.Path().c_str(), 1);
    setenv("QEL_SOFTCARD_DIR", m_folder.Path().c_str(), 1);
    std::filesystem::create_directory(m_folder.Path() / "live");  // where the sandbox lets the card write
  }

  /// The calls so far; nothing is under way between two requests.
  std::vector<std::string> Trace() const {
    std::ifstream file(TracePath());
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) lines.push_back(line);
    return lines;
  }

  template <class Question>
  auto Ask(Question question) {
    return m_process.Ask("story", question);
  }

 private:
  std::string TracePath() const { return m_folder.Path() / "live/trace"; }

  TemporaryDirectory m_folder;
  Host::ExtensionProcess m_process;
};

/// A token and a session of it, in a process.
class StorySession {
 public:
  explicit StorySession(const OperationStory& story, const Fault& fault = {}) : m_process(story.contents, fault) {
    m_token = *m_process.Ask([](Wire::Client& client) { return client.CreateToken(kStoryReader); });
    m_session = *m_process.Ask([this](Wire::Client& client) { return client.CreateSession(m_token.id); });
    for (size_t slot = 0; story.loggedIn && slot < story.contents.slots; ++slot) {
      // A request chooses the slot, and is refused before the login.
      Sign(Bytes(32, 0x44), story.contents.rsa ? kPss : kEcdsa, Key(slot == 0 ? "12" : "22"));
      EXPECT_TRUE(LogIn("1234"));
    }
    if (story.contents.slots > 1) Supports(Key("12"));
    m_start = m_process.Trace().size();
  }

  bool Perform(Request request) {
    switch (request) {
      case Request::AnotherSession:
        return bool(m_process.Ask([this](Wire::Client& client) { return client.CreateSession(m_token.id); }));
      case Request::AskForKeyExchange:
        return Supports(Key("12"));
      case Request::LogInWithTheRightPin:
        return LogIn("1234");
      case Request::LogInWithAWrongPin:
        return LogIn("0000");
      case Request::SignRaw:
        return Sign({0x00, 0x01, 0xFF, 0x00, 0x30, 0x31}, kRaw, Key("12"));
      case Request::SignWrongPadding:
        return Sign({0x00, 0x02, 0x00, 0x30}, kRaw, Key("12"));
      case Request::SignPss:
        return Sign(Bytes(32, 0x44), kPss, Key("12"));
      case Request::SignEcdsa:
        return Sign(Bytes(32, 0x44), kEcdsa, Key("12"));
      case Request::SignEcdsaOnEachSlot:
        return Sign(Bytes(32, 0x44), kEcdsa, Key("12")) && Sign(Bytes(32, 0x44), kEcdsa, Key("22"));
      case Request::SignWithAMissingKey:
        return Sign(Bytes(32, 0x44), kEcdsa, "1277");
      case Request::SignNothingAndThenADigest:
        Sign({}, kEcdsa, Key("12"));
        return Sign(Bytes(32, 0x44), kEcdsa, Key("12"));
      case Request::Decrypt:
        return bool(m_process.Ask([this](Wire::Client& client) {
          return client.DecryptData(m_session, Key("12"), {kEncryption}, Bytes(256, 0xC1));
        }));
      case Request::Agree:
        return bool(m_process.Ask([this](Wire::Client& client) {
          return client.PerformKeyExchange(m_session, Key("12"), {kExchange}, Bytes(65, 0x04), 32, {});
        }));
    }
    return false;
  }

  /// The calls since the session was ready.
  std::vector<std::string> Trace() const {
    const std::vector<std::string> all = m_process.Trace();
    return {all.begin() + static_cast<std::ptrdiff_t>(m_start), all.end()};
  }
  /// How often `call` was made before.
  int CountBefore(const std::string& call) const {
    const std::vector<std::string> all = m_process.Trace();
    return static_cast<int>(std::count_if(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(m_start),
                                          [&](const auto& line) { return line.rfind(call + " ", 0) == 0; }));
  }

 private:
  using Bytes = Wire::Bytes;

  /// The identifier of the first key that begins with `prefix`.
  std::string Key(const std::string& prefix) const {
    for (const Wire::Item& item : m_token.items)
      if (item.objectID.rfind(prefix, 0) == 0) return item.objectID;
    return "none";
  }
  bool Supports(const std::string& key) {
    const auto answer = m_process.Ask([&](Wire::Client& client) {
      return client.SupportsOperation(m_session, Wire::Operation::PerformKeyExchange, key, {kExchange});
    });
    return answer && *answer;
  }
  bool Sign(const Bytes& data, const char* algorithm, const std::string& key) {
    return bool(
        m_process.Ask([&](Wire::Client& client) { return client.SignData(m_session, key, {algorithm}, data); }));
  }
  bool LogIn(const std::string& pin) {
    const auto begun = m_process.Ask(
        [this](Wire::Client& client) { return client.BeginAuth(m_session, Wire::Operation::SignData, "PINAlways"); });
    if (!begun) return false;
    const auto finished = m_process.Ask(
        [&](Wire::Client& client) { return client.FinishAuth(begun->id, Wire::Attachment(pin.data(), pin.size())); });
    return finished && *finished;
  }

  StoryProcess m_process;
  Wire::Token m_token;
  int64_t m_session = 0;
  size_t m_start = 0;
};

class ProcessConstruction : public ::testing::TestWithParam<ConstructionStory> {};
class ProcessOperation : public ::testing::TestWithParam<OperationStory> {};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Of, ProcessConstruction, ::testing::ValuesIn(kConstructions),
                         [](const auto& info) { return std::string(info.param.name); });
INSTANTIATE_TEST_SUITE_P(Of, ProcessOperation, ::testing::ValuesIn(kOperations),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_P(ProcessConstruction, IsAsKept) {
  const ConstructionStory& story = GetParam();
  StoryProcess process(story.contents, story.fault);
  const auto token = process.Ask([&](Wire::Client& client) { return client.CreateToken(story.reader); });
  EXPECT_EQ(bool(token), story.givesToken);
  if (token) process.Ask([&](Wire::Client& client) { return client.TerminateToken(token->id); });
  EXPECT_TRUE(MatchesGoldenTrace(story.name, process.Trace()));
}

TEST_P(ProcessOperation, IsAsKept) {
  const OperationStory& story = GetParam();
  Fault fault = story.fault;
  // The library counts the calls from its beginning, the story from its own.
  if (fault.call != nullptr) fault.occurrence += StorySession(story).CountBefore(fault.call);
  StorySession session(story, fault);
  EXPECT_EQ(session.Perform(story.request), story.succeeds);
  EXPECT_TRUE(MatchesGoldenTrace(story.name, session.Trace()));
}
