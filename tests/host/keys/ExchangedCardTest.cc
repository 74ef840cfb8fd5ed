#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>

#include "softcard/state/State.h"
#include "tests/host/FakeCard.h"
#include "tests/support/RunningProgram.h"

namespace {

TEST(ExchangedCard, IsToldOfAndIsNotTriedWithThePinOfTheOther) {
  const FakeCard card;
  card.Script("signData", {"error CryptoTokenKit -9", "ok"});
  ASSERT_EQ(mkfifo(card.Path("asked").c_str(), 0600), 0);
  std::vector<std::string> arguments = card.SignArguments();
  arguments.insert(arguments.begin(), {"--pin-file", card.Path("asked")});
  RunningProgram host(QEL_CTKHOST, arguments, card.Environment());
  {
    std::ofstream pin(card.Path("asked"));  // open once the host reads it
    SoftCard::Update(card.Path("cards"), [](SoftCard::State& state) { state.FindReader("Test Reader")->insertions++; });
    pin << "1234\n";
  }
  EXPECT_EQ(host.Wait(), 3);
  EXPECT_NE(host.Printed().find("the card in Test Reader was exchanged while the PIN was asked for"), std::string::npos)
      << host.Printed();
  EXPECT_EQ(card.CallLine("finishAuth"), "");
}

}  // namespace
