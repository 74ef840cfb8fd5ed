#include "platform/wire/Message.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <string>
#include <thread>

#include "platform/wire/Hex.h"

namespace {

using Kind = Wire::ProtocolError::Kind;
using Bytes = std::vector<uint8_t>;
using namespace std::chrono_literals;

class WireMessage : public ::testing::Test {
 protected:
  WireMessage() { EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, m_ends), 0); }
  ~WireMessage() override {
    CloseOurs();
    close(m_ends[1]);
  }

  int Ours() const { return m_ends[0]; }
  int Theirs() const { return m_ends[1]; }
  void CloseOurs() {
    if (m_ends[0] >= 0) {
      close(m_ends[0]);
      m_ends[0] = -1;
    }
  }

  /// What the receiver makes of `bytes` followed by the end of the stream.
  Kind KindOfFailure(const Bytes& bytes) {
    EXPECT_EQ(write(Ours(), bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    CloseOurs();
    try {
      Wire::Receive(Theirs());
    } catch (const Wire::ProtocolError& problem) {
      return problem.kind();
    }
    ADD_FAILURE() << "nothing was thrown";
    return Kind::System;
  }

  int m_ends[2] = {-1, -1};
};

TEST_F(WireMessage, ArrivesAsItWasSent) {
  Wire::Send(Ours(), {{{"call", "signData"}}, Wire::Attachment(Bytes{1, 2, 3})});
  const auto message = Wire::Receive(Theirs());
  ASSERT_TRUE(message);
  EXPECT_EQ(message->header, nlohmann::json({{"call", "signData"}}));
  EXPECT_EQ(message->attachment.Bytes(), (Bytes{1, 2, 3}));
}

TEST_F(WireMessage, HasLittleEndianLengthsThenHeaderThenAttachment) {
  Wire::Send(Ours(), {nlohmann::json::object(), Wire::Attachment(Bytes{0xAA})});
  Bytes frame(11);
  ASSERT_EQ(read(Theirs(), frame.data(), frame.size()), 11);
  EXPECT_EQ(frame, (Bytes{2, 0, 0, 0, 1, 0, 0, 0, '{', '}', 0xAA}));
}

TEST_F(WireMessage, SeveralArriveOneByOne) {
  for (int i = 0; i < 3; ++i) {
    Wire::Send(Ours(), {{{"number", i}}, {}});
  }
  CloseOurs();
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(Wire::Receive(Theirs())->header.at("number"), i);
  }
  EXPECT_FALSE(Wire::Receive(Theirs()));
}

TEST_F(WireMessage, MayBeAsLongAsAllowed) {
  std::thread sender([&] {
    Wire::Send(Ours(), {nlohmann::json::object(), Wire::Attachment(Wire::MaximumPartLength)});
  });
  const auto message = Wire::Receive(Theirs());
  sender.join();
  ASSERT_TRUE(message);
  EXPECT_EQ(message->attachment.size(), Wire::MaximumPartLength);
}

TEST_F(WireMessage, TextThatIsNotUtf8ArrivesReplaced) {
  Wire::Send(Ours(), {{{"text", "a\xFFz"}}, {}});
  EXPECT_EQ(Wire::Receive(Theirs())->header.at("text"), "a\xEF\xBF\xBDz");
}

TEST_F(WireMessage, ANumberWithAFractionArrivesAsNone) {
  Wire::Send(Ours(), {{{"token", 1e300}, {"session", 2}}, {}});
  EXPECT_EQ(Wire::Receive(Theirs())->header, nlohmann::json({{"token", nullptr}, {"session", 2}}));
}

TEST_F(WireMessage, EndBetweenMessagesIsNoFailure) {
  CloseOurs();
  EXPECT_FALSE(Wire::Receive(Theirs()));
}

TEST_F(WireMessage, EndInsideTheLengthsIsTruncated) {
  EXPECT_EQ(KindOfFailure({2, 0, 0}), Kind::Truncated);
}

TEST_F(WireMessage, EndInsideTheHeaderIsTruncated) {
  EXPECT_EQ(KindOfFailure({2, 0, 0, 0, 0, 0, 0, 0, '{'}), Kind::Truncated);
}

TEST_F(WireMessage, EndInsideTheAttachmentIsTruncated) {
  EXPECT_EQ(KindOfFailure({2, 0, 0, 0, 2, 0, 0, 0, '{', '}', 0xAA}), Kind::Truncated);
}

TEST_F(WireMessage, AHeaderThatIsNoJsonIsGarbage) {
  EXPECT_EQ(KindOfFailure({2, 0, 0, 0, 0, 0, 0, 0, '{', '{'}), Kind::Garbage);
}

TEST_F(WireMessage, AHeaderThatIsNoObjectIsGarbage) {
  EXPECT_EQ(KindOfFailure({2, 0, 0, 0, 0, 0, 0, 0, '[', ']'}), Kind::Garbage);
}

TEST_F(WireMessage, AnEmptyHeaderIsGarbage) {
  EXPECT_EQ(KindOfFailure({0, 0, 0, 0, 0, 0, 0, 0}), Kind::Garbage);
}

TEST_F(WireMessage, AHeaderOverTheLimitIsRefusedUnread) {
  EXPECT_EQ(KindOfFailure({0x01, 0, 0, 0x01, 0, 0, 0, 0}), Kind::Garbage);
}

TEST_F(WireMessage, AnAttachmentOverTheLimitIsRefusedUnread) {
  EXPECT_EQ(KindOfFailure({2, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF}), Kind::Garbage);
}

TEST_F(WireMessage, AnAttachmentOverTheLimitIsNotSent) {
  try {
    Wire::Send(Ours(), {nlohmann::json::object(), Wire::Attachment(Wire::MaximumPartLength + 1)});
    FAIL() << "nothing was thrown";
  } catch (const Wire::ProtocolError& problem) {
    EXPECT_EQ(problem.kind(), Kind::TooLong);
  }
  CloseOurs();
  EXPECT_FALSE(Wire::Receive(Theirs())) << "something was sent";
}

TEST_F(WireMessage, SilenceTimesOut) {
  try {
    Wire::Receive(Theirs(), {std::chrono::steady_clock::now() + 10ms});
    FAIL() << "nothing was thrown";
  } catch (const Wire::ProtocolError& problem) {
    EXPECT_EQ(problem.kind(), Kind::TimedOut);
  }
}

/// Why `wait` gave up, and that it did so in time.
template <class Wait>
Kind KindOfGivingUp(Wait wait) {
  const auto start = std::chrono::steady_clock::now();
  try {
    wait();
  } catch (const Wire::ProtocolError& problem) {
    EXPECT_LT(std::chrono::steady_clock::now() - start, 5s);
    return problem.kind();
  }
  ADD_FAILURE() << "nothing was thrown";
  return Kind::System;
}

Wire::Patience For(std::chrono::milliseconds time) {
  return {std::chrono::steady_clock::now() + time};
}

TEST_F(WireMessage, ThatComesByteByByteIsNotWaitedForLonger) {
  std::atomic<bool> ends{false};
  std::thread drip([&] {
    for (const char byte : std::string("\x64\0\0\0\0\0\0\0", 8) + std::string(100, ' ')) {
      if (ends || write(Ours(), &byte, 1) != 1) return;
      std::this_thread::sleep_for(100ms);
    }
  });
  EXPECT_EQ(KindOfGivingUp([&] { Wire::Receive(Theirs(), For(300ms)); }), Kind::TimedOut);
  ends = true;
  drip.join();
}

TEST_F(WireMessage, ThatNobodyReadsIsNotSentForEver) {
  const Wire::Message large = {nlohmann::json::object(), Wire::Attachment(Wire::MaximumPartLength)};
  EXPECT_EQ(KindOfGivingUp([&] { Wire::Send(Ours(), large, For(200ms)); }), Kind::TimedOut);
}

TEST_F(WireMessage, IsNotWaitedForWhenWhoeverWaitsIsToldToStop) {
  int stop[2];
  ASSERT_EQ(pipe(stop), 0);
  ASSERT_EQ(write(stop[1], "", 1), 1);
  Wire::Patience patience;
  patience.stop = stop[0];
  EXPECT_EQ(KindOfGivingUp([&] { Wire::Receive(Theirs(), patience); }), Kind::Stopped);
  Wire::Send(Ours(), {});
  EXPECT_TRUE(Wire::Receive(Theirs(), patience)) << "what is there costs no wait";
  close(stop[0]);
  close(stop[1]);
}

TEST_F(WireMessage, IsNotWaitedForWhenTheOtherSidesProcessHasEndedAndSomebodyKeepsItsSocket) {
  const pid_t other = fork();
  if (other == 0) _exit(0);
  Wire::Patience patience;
  patience.process = static_cast<int>(syscall(SYS_pidfd_open, other, 0));
  Wire::Send(Ours(), {{{"last", "word"}}, {}});
  EXPECT_EQ(Wire::Receive(Theirs(), patience)->header.at("last"), "word");
  EXPECT_FALSE(Wire::Receive(Theirs(), patience));
  close(patience.process);
  waitpid(other, nullptr, 0);
}

/// A frame with `header` alone.
Bytes Frame(const std::string& header) {
  Bytes frame(8);
  for (int i = 0; i < 4; ++i) frame[static_cast<size_t>(i)] = static_cast<uint8_t>(header.size() >> (8 * i));
  frame.insert(frame.end(), header.begin(), header.end());
  return frame;
}

std::string Nested(size_t depth) {
  return R"({"a":)" + std::string(depth - 1, '[') + std::string(depth - 1, ']') + "}";
}

TEST_F(WireMessage, ThatIsNestedDeepIsGarbage) {
  EXPECT_EQ(KindOfFailure(Frame(Nested(100000))), Kind::Garbage);
}

TEST_F(WireMessage, MayBeNestedAsDeepAsAllowedAndNoDeeper) {
  const Bytes allowed = Frame(Nested(Wire::MaximumDepth));
  ASSERT_EQ(write(Ours(), allowed.data(), allowed.size()), static_cast<ssize_t>(allowed.size()));
  EXPECT_TRUE(Wire::Receive(Theirs()));
  EXPECT_EQ(KindOfFailure(Frame(Nested(Wire::MaximumDepth + 1))), Kind::Garbage);
}

TEST_F(WireMessage, OfCountlessValuesIsGarbage) {
  std::string header = R"({"a":[)";
  for (size_t i = 0; i < Wire::MaximumValues; ++i) header += "0,";
  header += "0]}";
  Kind kind = Kind::System;
  std::thread receiver([&] { kind = KindOfGivingUp([&] { Wire::Receive(Theirs()); }); });
  const Bytes frame = Frame(header);
  EXPECT_EQ(write(Ours(), frame.data(), frame.size()), static_cast<ssize_t>(frame.size()));
  receiver.join();
  EXPECT_EQ(kind, Kind::Garbage);
}

TEST(WireFits, TellsWhatSendWouldRefuse) {
  EXPECT_TRUE(Wire::Fits({{}, Wire::Attachment(Wire::MaximumPartLength)}));
  EXPECT_FALSE(Wire::Fits({{}, Wire::Attachment(Wire::MaximumPartLength + 1)}));
  EXPECT_FALSE(Wire::Fits({{{"label", std::string(Wire::MaximumPartLength, 'a')}}, {}}));
}

TEST_F(WireMessage, SendingToAClosedEndSaysSo) {
  CloseOurs();
  try {
    Wire::Send(Theirs(), {});
    FAIL() << "nothing was thrown";
  } catch (const Wire::ProtocolError& problem) {
    EXPECT_EQ(problem.kind(), Kind::Closed);
  }
}

TEST(WireAttachment, ShortenWipesWhatItGivesUp) {
  Wire::Attachment pin("123456", 6);
  const uint8_t* bytes = pin.data();
  pin.Shorten(2);
  EXPECT_EQ(pin.Bytes(), (Bytes{'1', '2'}));
  EXPECT_EQ(Bytes(bytes + 2, bytes + 6), Bytes(4, 0));
  pin.Shorten(4);
  EXPECT_EQ(pin.size(), 2u);
}

TEST(WireAttachment, MovingKeepsTheBytesInTheirPlace) {
  Wire::Attachment from("1234", 4);
  const uint8_t* place = from.data();
  const Wire::Attachment to = std::move(from);
  EXPECT_EQ(to.data(), place);
  EXPECT_EQ(to.size(), 4u);
}

TEST(WireHex, GoesBothWays) {
  const Bytes bytes = {0x00, 0x1F, 0xAB, 0xFF};
  EXPECT_EQ(Wire::ToHex(bytes.data(), bytes.size()), "001fabff");
  EXPECT_EQ(Wire::FromHex("001FabFF"), bytes);
  EXPECT_EQ(Wire::FromHex(""), Bytes{});
}

TEST(WireHex, RefusesWhatIsNotHexadecimal) {
  EXPECT_FALSE(Wire::FromHex("abc"));
  EXPECT_FALSE(Wire::FromHex("0g"));
  EXPECT_FALSE(Wire::FromHex("-1"));
}

}  // namespace
