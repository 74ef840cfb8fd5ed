#include "host/extension/Sandbox.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <fstream>
#include <thread>

namespace {

namespace fs = std::filesystem;
using Access = Host::SandboxRule::Access;

TEST(SandboxRules, AreTheReadOnlyExceptionsOfTheEntitlements) {
  const std::string text =
      "<key>com.apple.security.temporary-exception.files.absolute-path.read-only</key><array>\n"
      "<string>/Library/Frameworks/A.framework/</string><string>/usr/local/lib/b.dylib</string></array>\n"
      "<key>com.apple.security.temporary-exception.files.home-relative-path.read-only</key><array>\n"
      "<string>/Library/Preferences/c.ini</string></array>\n"
      "<key>another</key><array><string>/not/this</string></array>";
  EXPECT_EQ(Host::ReadOnlyExceptions(text, "/build/Library", "/users/u"),
            (std::vector<fs::path>{"/build/Library/Frameworks/A.framework/", "/usr/local/lib/b.dylib",
                                   "/users/u/Library/Preferences/c.ini"}));
  EXPECT_TRUE(Host::ReadOnlyExceptions("<dict/>", "/build/Library", "/users/u").empty());
}

TEST(SandboxGaps, AreWhatTheKernelsVersionCannotConfine) {
  const auto has = [](long version, const std::string& what) {
    for (const std::string& gap : Host::Sandbox::GapsOf(version))
      if (gap.find(what) != std::string::npos) return true;
    return false;
  };
  EXPECT_TRUE(has(2, "emptying files"));
  EXPECT_FALSE(has(3, "emptying files"));
  EXPECT_TRUE(has(4, "devices"));
  EXPECT_FALSE(has(5, "devices"));
  EXPECT_TRUE(has(5, "signals"));
  EXPECT_FALSE(has(6, "signals"));
  EXPECT_TRUE(has(6, "local sockets with a path"));
}

class Landlock : public ::testing::Test {
 protected:
  Landlock() {
    if (!Host::Sandbox::IsAvailable()) return;
    std::string name = fs::temp_directory_path() / "qel-sandbox-XXXXXX";
    folder = mkdtemp(name.data());
    for (const char* place : {"readable", "changeable", "other"}) {
      fs::create_directory(folder / place);
      std::ofstream(folder / place / "file") << "text";
    }
  }
  ~Landlock() override {
    if (!folder.empty()) fs::remove_all(folder);
  }

  fs::path folder;
};

TEST_F(Landlock, LeavesWhatTheRulesNameAndNothingElse) {
  if (!Host::Sandbox::IsAvailable()) GTEST_SKIP() << "this kernel has no Landlock";
  const Host::Sandbox sandbox({{folder / "readable", Access::Read},
                               {folder / "changeable", Access::Change},
                               {folder / "missing", Access::Read}});
  std::string seen;
  std::thread([&] {
    const auto note = [&](bool allowed) { seen += allowed ? '+' : '-'; };
    note(sandbox.Enter());
    note(std::ifstream(folder / "readable/file").good());
    note(std::ofstream(folder / "readable/file").good());
    note(std::ofstream(folder / "changeable/new").good());
    note(std::ifstream(folder / "other/file").good());
    note(std::ofstream(folder / "new").good());
  }).join();
  EXPECT_EQ(seen, "++-+--");
  EXPECT_TRUE(std::ifstream(folder / "other/file").good()) << "the other threads are free";
}

}  // namespace
