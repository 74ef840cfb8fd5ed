// What a process may become after RemainTheStartedProgram. Each case asks in a child of its own.

#include "platform/src/Foundation/StartedProgram.h"

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <functional>
#include <string>

namespace {

constexpr char kNext[] = "/bin/true";
constexpr int kStarted = 0, kFailed = 100;  // what the program ends with; the error's number is added to the second

/// The status that a child ends with which remains its program, and may become `next`, before it does `work`.
int StatusOf(const char* next, const std::function<int()>& work) {
  const pid_t child = fork();
  if (child == 0) {
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    RemainTheStartedProgram(next);
    _exit(work());
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

int Become(const char* path) {
  char* none[] = {const_cast<char*>(path), nullptr};
  execve(path, none, none + 1);
  return kFailed + errno;
}

int Set(int option, unsigned long value) {
  return prctl(option, value, 0, 0, 0) == 0 ? kStarted : kFailed + errno;
}

TEST(StartedProgram, BecomesNoOther) {
  EXPECT_EQ(StatusOf(nullptr, [] { return Become(kNext); }), kFailed + EACCES);
}

TEST(StartedProgram, BecomesTheNextByItsVeryPointer) {
  EXPECT_EQ(StatusOf(kNext, [] { return Become(kNext); }), kStarted);
}

TEST(StartedProgram, BecomesNoneByAnotherPointerToTheSamePath) {
  const std::string same = kNext;
  EXPECT_EQ(StatusOf(kNext, [&same] { return Become(same.c_str()); }), kFailed + EACCES);
}

// Either half of the address alone does not do.
TEST(StartedProgram, BecomesNoneByAPointerOfWhichHalfIsTheSame) {
  const auto place = reinterpret_cast<uint64_t>(kNext);
  for (const uint64_t flipped : {uint64_t{1}, uint64_t{1} << 32, uint64_t{1} << 40})
    EXPECT_EQ(StatusOf(kNext, [&] { return Become(reinterpret_cast<const char*>(place ^ flipped)); }), kFailed + EACCES)
        << std::hex << flipped;
}

TEST(StartedProgram, LeavesNoCoreAgainAndMaySayThatItDoesNot) {
  EXPECT_EQ(StatusOf(nullptr, [] { return Set(PR_SET_DUMPABLE, 1); }), kFailed + EACCES);
  EXPECT_EQ(StatusOf(nullptr, [] { return Set(PR_SET_DUMPABLE, 0); }), kStarted);
  EXPECT_EQ(StatusOf(nullptr, [] { return Set(PR_SET_NAME, reinterpret_cast<unsigned long>("name")); }), kStarted);
}

}  // namespace
