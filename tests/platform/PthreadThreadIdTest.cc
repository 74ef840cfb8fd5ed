#include <errno.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <thread>

namespace {

TEST(PthreadThreadId, TheFirstThreadHasTheProcessesNumber) {
  uint64_t id = 0;
  EXPECT_EQ(pthread_threadid_np(pthread_self(), &id), 0);
  EXPECT_EQ(id, static_cast<uint64_t>(getpid()));
}

TEST(PthreadThreadId, NoThreadMeansTheCaller) {
  uint64_t caller = 0;
  uint64_t none = 0;
  EXPECT_EQ(pthread_threadid_np(pthread_self(), &caller), 0);
  EXPECT_EQ(pthread_threadid_np(pthread_t(), &none), 0);
  EXPECT_EQ(none, caller);
}

TEST(PthreadThreadId, ThreadsHaveDifferentNumbers) {
  uint64_t here = 0;
  uint64_t there = 0;
  EXPECT_EQ(pthread_threadid_np(pthread_self(), &here), 0);
  std::thread([&] { EXPECT_EQ(pthread_threadid_np(pthread_self(), &there), 0); }).join();
  EXPECT_NE(there, 0u);
  EXPECT_NE(there, here);
}

TEST(PthreadThreadId, WithoutAPlaceForTheNumberItFails) {
  uint64_t* nowhere = nullptr;
  EXPECT_EQ(pthread_threadid_np(pthread_self(), nowhere), EINVAL);
}

TEST(PthreadThreadId, AnotherThreadIsNotFound) {
  const pthread_t first = pthread_self();
  std::thread([&] {
    uint64_t id = 7;
    EXPECT_EQ(pthread_threadid_np(first, &id), ESRCH);
    EXPECT_EQ(id, 7u);
  }).join();
}

}  // namespace
