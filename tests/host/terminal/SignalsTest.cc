#include "host/terminal/Signals.h"

#include <gtest/gtest.h>

namespace {

using Host::CaughtSignals;
using Host::SignalCame;

TEST(CaughtSignals, ThatAreTakenDoNotComeToTheProgram) {
  const int program = Host::SignalDescriptor({SIGUSR1});
  {
    const CaughtSignals caught({SIGUSR1});
    raise(SIGUSR1);
    EXPECT_EQ(caught.Next(), SIGUSR1);
    EXPECT_EQ(caught.Next(), 0);
  }
  EXPECT_FALSE(SignalCame(program));
}

TEST(CaughtSignals, ThatNobodyTookComeToTheProgramAfterwards) {
  const int program = Host::SignalDescriptor({SIGUSR1});
  {
    const CaughtSignals caught({SIGUSR1});
    raise(SIGUSR1);
    EXPECT_FALSE(SignalCame(program));
  }
  EXPECT_TRUE(SignalCame(program));
}

}  // namespace
