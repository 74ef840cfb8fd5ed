// The same requests to the extension that ships and to the one that is compiled for Linux: the same answers, the same
// calls to the card, the same lines in the token log.

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <regex>
#include <sstream>
#include <thread>

#include "tests/integration/OpenSSL.h"
#include "tests/integration/RealCard.h"

namespace {

struct Behaviour {
  std::vector<std::string> answers, calls, log;
};

std::vector<std::string> Lines(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

/// A call's line without its time, process and duration; handles are numbered in the order in which they appear.
std::vector<std::string> WithoutChance(const std::vector<std::string>& trace) {
  static const std::regex frame("^[0-9:.]+ [0-9]+ (.*), [0-9.]+ ms$"),
      handle("(h[A-Z]\\w*|ph\\w+|pObjects)=(0x[0-9a-f]+)");
  std::map<std::string, size_t> numbers;
  std::vector<std::string> lines;
  for (const std::string& line : trace) {
    const std::string call = std::regex_replace(line, frame, "$1");
    std::string numbered;
    auto rest = call.begin();
    for (std::sregex_iterator match(call.begin(), call.end(), handle), end; match != end; ++match) {
      numbered.append(rest, (*match)[2].first);
      numbered += "#" + std::to_string(numbers.emplace((*match)[2], numbers.size()).first->second);
      rest = (*match)[0].second;
    }
    lines.push_back(numbered.append(rest, call.end()));
  }
  return lines;
}

/// As one text, of which a failure shows the lines that differ.
std::string Text(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\n";
  return text;
}

std::vector<std::string> WithoutTimes(std::vector<std::string> log) {
  static const std::regex frame("^[-0-9]+ [0-9:,]+ \\[[0-9]+-[0-9]+\\] ");
  for (std::string& line : log) line = std::regex_replace(line, frame, "");
  return log;
}

/// What users do with one card, in an order that leaves it as it was.
class Story {
 public:
  Story(const RealCard& card, const std::string& bundle) : m_card(card), m_bundle(bundle) {
    m_card.SoftCard({"trace", "on", m_card.Path("trace")});
    std::filesystem::remove(m_card.Path("trace"));
    std::filesystem::remove(m_card.Path("home/Documents/QELToken.log"));
  }

  void Ask(std::vector<std::string> arguments, const std::string& pinFile = "pin") {
    arguments.insert(arguments.begin(), {"--extension", m_bundle, "-v"});
    const ChildResult result = m_card.HostWithPinFile(pinFile, arguments);
    m_behaviour.answers.push_back("status " + std::to_string(result.exitStatus.value_or(-1)));
    // An ECDSA signature is shorter when one of its numbers begins with zeros.
    static const std::regex chance(
        "\\b(6[0-9]|7[0-2]|10[0-4]) bytes|process [0-9]+|(may (read|change) (and run )?|does not exist: ).*");
    for (const std::string& text : {result.output, result.errors})
      for (const std::string& line : Lines(std::regex_replace(text, chance, "")))
        if (line != "sandbox: ") m_behaviour.answers.push_back(line);  // an emulator reads more places
  }

  void Sign(const std::string& key, const std::string& algorithm, const std::string& pinFile = "pin") {
    Ask({"sign", "--key", key, "--algorithm", algorithm, "--in", m_card.Path("message"), "--out",
         m_card.Path("signature")},
        pinFile);
  }

  Behaviour Told() const {
    Behaviour told = m_behaviour;
    told.calls = WithoutChance(Lines(m_card.Text("trace")));
    told.log = WithoutTimes(Lines(m_card.Text("home/Documents/QELToken.log")));
    return told;
  }

 private:
  const RealCard& m_card;
  std::string m_bundle;
  Behaviour m_behaviour;
};

void ExpectTheSame(const RealCard& card, const std::function<void(Story&)>& tell) {
  const auto told = [&](const char* bundle, const char* library) {
    setenv("QEL_LIBRARY_DIR", library, 1);  // with a PIN dialog library that either can load
    Story story(card, bundle);
    tell(story);
    return story.Told();
  };
  const Behaviour linux = told(QEL_LINUX_BUNDLE, QEL_LINUX_LIBRARY),
                  shipped = told(QEL_SHIPPED_BUNDLE, QEL_SHIPPED_LIBRARY);
  EXPECT_EQ(Text(shipped.answers), Text(linux.answers));
  EXPECT_EQ(Text(shipped.calls), Text(linux.calls));
  EXPECT_EQ(Text(shipped.log), Text(linux.log));
  EXPECT_GT(linux.calls.size(), 10u);
  EXPECT_GT(linux.log.size(), 3u);
}

TEST(SameBehaviour, OfAnRsaKey) {
  const RealCard card({"--key", "rsa2048"});
  const std::string key = card.KeyID();
  const std::string certificate = card.ExportPublicKey(key);
  ASSERT_EQ(RunOpenSSL({"pkeyutl", "-encrypt", "-pubin", "-inkey", certificate, "-in", card.Path("message"), "-out",
                        card.Path("encrypted")})
                .exitStatus,
            0);
  ExpectTheSame(card, [&](Story& story) {
    story.Ask({"list"});
    for (const char* algorithm : {"rsa-pkcs1-sha1", "rsa-pkcs1-sha256", "rsa-pss-sha512", "ecdsa-sha256"})
      story.Sign(key, algorithm);
    story.Ask({"decrypt", "--key", key, "--in", card.Path("encrypted"), "--out", card.Path("decrypted")});
    story.Ask({"decrypt", "--key", key, "--in", card.Path("message"), "--out", card.Path("nothing")});
    story.Sign(key, "rsa-pkcs1-sha256", "wrong");
    story.Sign(key, "rsa-pkcs1-sha256");
    card.SoftCard({"unlock", "card"});
  });
}

TEST(SameBehaviour, OfAnEllipticCurveKey) {
  const RealCard card({"--key", "p384"});
  const std::string key = card.KeyID();
  ASSERT_EQ(
      RunOpenSSL({"genpkey", "-algorithm", "EC", "-pkeyopt", "ec_paramgen_curve:P-384", "-out", card.Path("peer")})
          .exitStatus,
      0);
  ASSERT_EQ(RunOpenSSL({"pkey", "-in", card.Path("peer"), "-pubout", "-out", card.Path("peer.pub")}).exitStatus, 0);
  ExpectTheSame(card, [&](Story& story) {
    story.Ask({"list"});
    for (const char* algorithm : {"ecdsa-sha256", "ecdsa-sha384", "rsa-pss-sha256"}) story.Sign(key, algorithm);
    story.Ask({"agree", "--key", key, "--peer", card.Path("peer.pub"), "--size", "100", "--shared-info", "00aa",
               "--out", card.Path("agreed")});
  });
}

TEST(SameBehaviour, OfACardOnTwoSlots) {
  const RealCard card({"--key", "p256", "--key", "p256", "--slots", "2"});
  std::vector<std::string> keys = card.KeyIDs();
  ASSERT_EQ(keys.size(), 2u);
  ExpectTheSame(card, [&](Story& story) {
    for (const std::string& key : keys) story.Sign(key, "ecdsa-sha256");
  });
}

TEST(SameBehaviour, OfAReaderWithAPinPad) {
  const RealCard card({"--key", "p256", "--pin-pad", "--slot-type", "0x80000002"});
  const std::string key = card.KeyID();
  ExpectTheSame(card, [&](Story& story) {
    for (const char* press : {"enter", "cancel"}) {
      std::vector<std::string> arguments = {"pinpad", press, "--wait", "30"};
      if (press == std::string("enter")) arguments.insert(arguments.end(), {"--pin-file", card.Path("pin")});
      std::thread finger([&] { card.SoftCard(arguments); });
      story.Sign(key, "ecdsa-sha256");
      finger.join();
    }
  });
}

/// The exception of the loading travels through the code that ships, and becomes the same error.
TEST(SameBehaviour, WithoutTheMakersLibrary) {
  const RealCard card({"--key", "p256"});
  std::vector<std::string> errors;
  for (const char* bundle : {QEL_LINUX_BUNDLE, QEL_SHIPPED_BUNDLE}) {
    const std::string copy = card.Path("QELToken.appex");
    std::filesystem::remove_all(copy);
    std::filesystem::copy(bundle, copy, std::filesystem::copy_options::recursive);
    std::filesystem::remove(copy + "/Contents/Frameworks/libQELTarnwellPkcs11.dylib");
    const ChildResult result = card.Host({"--extension", copy, "list"});
    EXPECT_NE(result.exitStatus, 0);
    errors.push_back(result.errors);
  }
  EXPECT_NE(errors[0].find("QELToken -1, "), std::string::npos) << errors[0];
  EXPECT_EQ(errors[1], errors[0]);
}

}  // namespace
