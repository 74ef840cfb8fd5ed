// A signature after a login, stopped where the host hands over the result: the host and the extension's process are
// alive, and what they still hold of the PIN can be read from their memory.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <future>
#include <sstream>
#include <thread>

#include "tests/integration/RealCard.h"
#include "tests/support/ProcessMemory.h"

namespace {

using namespace std::chrono_literals;

std::string Contents(const std::string& file) {
  std::ostringstream text;
  text << std::ifstream(file, std::ios::binary).rdbuf();
  return text.str();
}

std::string ProcessFile(pid_t process, const std::string& name) {
  return Contents("/proc/" + std::to_string(process) + "/" + name);
}

/// The process whose command line names `argument`, 0 when there is none.
pid_t ProcessWith(const std::string& argument) {
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    const pid_t process = std::atoi(entry.path().filename().c_str());
    if (process > 0 && process != getpid() && ProcessFile(process, "cmdline").find(argument) != std::string::npos)
      return process;
  }
  return 0;
}

pid_t FirstChildOf(pid_t process) {
  return std::atoi(ProcessFile(process, "task/" + std::to_string(process) + "/children").c_str());
}

size_t Count(const std::string& text, const std::string& part) {
  size_t count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

template <class Condition>
bool WaitFor(Condition condition) {
  for (int i = 0; i < 300 && !condition(); ++i) std::this_thread::sleep_for(100ms);
  return condition();
}

/// A signature whose result nobody has taken yet.
class UntakenSignature {
 public:
  UntakenSignature() {
    // Freed memory is to be used again as it is for a user: the sanitizer would keep Foundation's freed strings.
    setenv("ASAN_OPTIONS", "quarantine_size_mb=0:thread_local_quarantine_size_kb=0", 1);
    mkfifo(Result().c_str(), 0600);
    const std::string key = m_card.KeyID();
    m_run = std::async(std::launch::async, [this, key] { return m_card.Sign(key, "ecdsa-sha256"); });
    m_isSigned = WaitFor([&] { return Count(m_card.Text("trace"), " C_Sign(") == 2; });
    std::this_thread::sleep_for(500ms);  // from the card's answer to the host's waiting
    m_host = ProcessWith(Result());
  }

  ~UntakenSignature() {
    if (m_run.valid()) Take();
  }

  /// Lets the host end. Returns what it left behind.
  ChildResult Take() {
    const int result = open(Result().c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    ChildResult ended = m_run.get();
    close(result);
    return ended;
  }

  bool IsSigned() const { return m_isSigned; }
  const RealCard& Card() const { return m_card; }
  pid_t Host() const { return m_host; }
  pid_t Extension() const { return FirstChildOf(m_host); }

 private:
  std::string Result() const { return m_card.Path("signature"); }

  RealCard m_card{{"--key", "p256"}};
  std::future<ChildResult> m_run;
  bool m_isSigned = false;
  pid_t m_host = 0;
};

HiddenText Hidden(std::string text) {
  return HiddenText(text);
}

}  // namespace

TEST(PinMemory, NeitherHostNorExtensionHoldsThePinAfterALogin) {
  UntakenSignature signature;
  ASSERT_TRUE(signature.IsSigned());
  ASSERT_NE(signature.Host(), 0);
  ASSERT_NE(signature.Extension(), 0);

  const HiddenText known = Hidden("QEL Soft Reader");
  if (CopiesInMemory(signature.Host(), known) < 0) GTEST_SKIP() << "may not read the memory of another process here";
  const std::string pin = RealCard::Pin();
  const HiddenText whole = Hidden(pin), begin = Hidden(pin.substr(0, 8)), end = Hidden(pin.substr(pin.size() - 8));
  for (const pid_t process : {signature.Host(), signature.Extension()}) {
    SCOPED_TRACE(process == signature.Host() ? "host" : "extension");
    EXPECT_GT(CopiesInMemory(process, known), 0) << "the search finds nothing at all";
    EXPECT_EQ(CopiesInMemory(process, whole), 0);
    EXPECT_EQ(CopiesInMemory(process, begin), 0);
    EXPECT_EQ(CopiesInMemory(process, end), 0);
  }
  EXPECT_EQ(signature.Take().exitStatus, 0);
}

TEST(PinMemory, NoCommandLineAndNoEnvironmentHoldsThePin) {
  UntakenSignature signature;
  ASSERT_TRUE(signature.IsSigned());
  for (const pid_t process : {signature.Host(), signature.Extension()}) {
    const std::string commandLine = ProcessFile(process, "cmdline");
    EXPECT_FALSE(commandLine.empty());
    EXPECT_EQ(commandLine.find(RealCard::Pin()), std::string::npos);
    EXPECT_EQ(ProcessFile(process, "environ").find(RealCard::Pin()), std::string::npos);
  }
}
