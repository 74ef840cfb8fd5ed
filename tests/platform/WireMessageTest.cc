#include "platform/wire/Message.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

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
  EXPECT_EQ(KindOfFailure({0x01, 0, 0, 0x01, 0, 0, 0, 0}), Kind::TooLong);
}

TEST_F(WireMessage, AnAttachmentOverTheLimitIsRefusedUnread) {
  EXPECT_EQ(KindOfFailure({2, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF}), Kind::TooLong);
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
    Wire::Receive(Theirs(), 10ms);
    FAIL() << "nothing was thrown";
  } catch (const Wire::ProtocolError& problem) {
    EXPECT_EQ(problem.kind(), Kind::TimedOut);
  }
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
