#include "report/LogTail.h"

#include <gmock/gmock.h>

#include <fstream>

#include "tests/support/TemporaryDirectory.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class LogTailTest : public testing::Test {
 protected:
  Report::LogTail Read(const std::string& text) const {
    std::ofstream(Path(), std::ios::binary) << text;
    return Report::ReadLogTail(Path());
  }
  std::string Path() const { return m_folder.Path() / "log"; }

 private:
  const TemporaryDirectory m_folder;
};

TEST_F(LogTailTest, HoldsTheLinesWithoutSecretsAndTheLastFailingCall) {
  const Report::LogTail tail = Read("C_Login() => 0x000000A0\nC_Sign() => 0x00000101\nPIN=4711\n");
  EXPECT_THAT(tail.lines, ElementsAre("C_Login() => 0x000000A0", "C_Sign() => 0x00000101", "PIN=(removed)"));
  EXPECT_EQ(tail.lastFailingCall, "C_Sign => CKR_USER_NOT_LOGGED_IN");
}

TEST_F(LogTailTest, HoldsTheLastFiftyLines) {
  std::string text;
  for (int i = 1; i <= 60; ++i) text += "line " + std::to_string(i) + "\n";
  const Report::LogTail tail = Read(text);
  ASSERT_EQ(tail.lines.size(), 50u);
  EXPECT_EQ(tail.lines.front(), "line 11");
  EXPECT_EQ(tail.lines.back(), "line 60");
}

TEST_F(LogTailTest, ReadsTheEndOfALargeFileFromTheNextWholeLineOn) {
  const Report::LogTail tail = Read(std::string(3 << 20, 'x') + "\nend\n");
  EXPECT_THAT(tail.lines, ElementsAre("end"));
}

TEST_F(LogTailTest, TellsWhyAFileCannotBeRead) {
  std::filesystem::create_symlink(Path(), Path());
  EXPECT_EQ(Report::ReadLogTail(Path()).problem, "Too many levels of symbolic links");
  std::filesystem::remove(Path());
  EXPECT_EQ(Report::ReadLogTail(Path()).problem, "");
  std::filesystem::create_directory(Path());
  EXPECT_EQ(Report::ReadLogTail(Path()).problem, "Is a directory");
  std::filesystem::remove(Path());
  EXPECT_EQ(Read("line\n").problem, "");
}

TEST_F(LogTailTest, IsEmptyWithoutAFile) {
  EXPECT_THAT(Report::ReadLogTail(Path()).lines, IsEmpty());
  EXPECT_EQ(Read("").lastFailingCall, "");
}

}  // namespace
