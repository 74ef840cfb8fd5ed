#include "log/LogClient.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "log/QEL_LogImpl_Callback.h"
#include "tests/tokenlog/RecordingProvider.h"
#include "tests/tokenlog/ScopedLocale.h"
#include "util/QELIconv.h"

namespace {

using Names = std::vector<std::wstring>;
using Messages = std::vector<RecordingProvider::Message>;

TEST(LogInterface, HasItsTwelveFunctionsInOrder) {
  const size_t offsets[] = {
      offsetof(QEL_LogInterface, create),  offsetof(QEL_LogInterface, destroy),   offsetof(QEL_LogInterface, isFatal),
      offsetof(QEL_LogInterface, isError), offsetof(QEL_LogInterface, isWarning), offsetof(QEL_LogInterface, isInfo),
      offsetof(QEL_LogInterface, isDebug), offsetof(QEL_LogInterface, fatal),     offsetof(QEL_LogInterface, error),
      offsetof(QEL_LogInterface, warning), offsetof(QEL_LogInterface, info),      offsetof(QEL_LogInterface, debug)};
  for (size_t slot = 0; slot < std::size(offsets); ++slot) EXPECT_EQ(offsets[slot], slot * sizeof(void*));
  EXPECT_EQ(sizeof(QEL_LogInterface), 12 * sizeof(void*));
  EXPECT_EQ(sizeof(HLOGGER), sizeof(void*));
}

TEST(InstalledInterface, IsAllNullUntilOneIsInstalled) {
  InstalledInterface::SetPrefix(L"P");
  const InstalledInterface::Copy copy = InstalledInterface::Get();
  EXPECT_EQ(copy.interface.create, nullptr);
  EXPECT_EQ(copy.interface.debug, nullptr);
  EXPECT_EQ(copy.prefix, L"");
  InstalledInterface::SetPrefix(nullptr);
}

TEST(InstalledInterface, IsACopyOfWhatWasInstalled) {
  QEL_LogInterface interface = RecordingProvider::Interface();
  const auto debug = interface.debug;
  InstalledInterface::Install(&interface);
  interface = {};
  EXPECT_EQ(InstalledInterface::Get().interface.debug, debug);
  InstalledInterface::Install(nullptr);
  EXPECT_EQ(InstalledInterface::Get().interface.debug, nullptr);
}

TEST(InstalledInterface, WithoutACreateFunctionCountsAsNone) {
  RecordingProvider provider;
  QEL_LogInterface interface = RecordingProvider::Interface();
  interface.create = nullptr;
  InstalledInterface::Install(&interface);
  InstalledInterface::SetPrefix(L"P");
  EXPECT_EQ(InstalledInterface::Get().interface.debug, nullptr);
  EXPECT_EQ(InstalledInterface::Get().prefix, L"");
}

TEST(InstalledInterface, KeepsThePrefixWhenTheProviderChanges) {
  RecordingProvider provider;
  InstalledInterface::SetPrefix(L"P");
  InstalledInterface::Install(nullptr);
  RecordingProvider::Install(RecordingProvider::Interface());
  EXPECT_EQ(InstalledInterface::Get().prefix, L"P");
}

TEST(InstalledInterface, GivesAPrefixWholeWhileItIsReplaced) {
  RecordingProvider provider;
  const std::wstring prefixes[] = {std::wstring(100000, L'a'), std::wstring(100000, L'b')};
  InstalledInterface::SetPrefix(prefixes[0].c_str());
  std::atomic<bool> done{false};
  std::thread setter([&] {
    for (int i = 0; i < 500; ++i) InstalledInterface::SetPrefix(prefixes[i % 2].c_str());
    done = true;
  });
  while (!done) {
    const std::wstring prefix = InstalledInterface::Get().prefix;
    if (prefix != prefixes[0] && prefix != prefixes[1]) {
      ADD_FAILURE() << "a piece of each";
      break;
    }
  }
  setter.join();
}

TEST(InstalledInterface, MayChangeWhileClientsAreMade) {
  RecordingProvider provider;
  QEL_LogInterface silent = RecordingProvider::Interface();
  silent.create = [](const wchar_t*, HLOGGER*) { return 0; };
  InstalledInterface::Install(&silent);
  std::thread installer([&] {
    for (int i = 0; i < 500; ++i) {
      InstalledInterface::Install(i % 2 ? &silent : nullptr);
      InstalledInterface::SetPrefix(i % 3 ? L"a rather long prefix, beyond any small buffer" : nullptr);
    }
  });
  for (int i = 0; i < 500; ++i) EXPECT_EQ(LogClient(L"A").IsFatal(), 0);
  installer.join();
}

/// A client of this name asks the provider for the logger of that name.
Names NamesCreatedFor(const wchar_t* name, const wchar_t* prefix) {
  RecordingProvider provider;
  InstalledInterface::SetPrefix(prefix);
  const LogClient client(name);
  return provider.created;
}

TEST(LogClient, CreatesALoggerOfItsName) {
  EXPECT_EQ(NamesCreatedFor(L"A", nullptr), Names{L"A"});
}
TEST(LogClient, PutsPrefixAndDotBeforeItsName) {
  EXPECT_EQ(NamesCreatedFor(L"A", L"P"), Names{L"P.A"});
}
TEST(LogClient, PutsThemBeforeANameThatBeginsLikeThePrefixToo) {
  EXPECT_EQ(NamesCreatedFor(L"P.A", L"P"), Names{L"P.P.A"});
  EXPECT_EQ(NamesCreatedFor(L"P", L"P"), Names{L"P.P"});
}
TEST(LogClient, UsesAnAbsoluteNameWithoutDotAndPrefix) {
  EXPECT_EQ(NamesCreatedFor(L".QELToken", L"P"), Names{L"QELToken"});
}
TEST(LogClient, TakesOneDotOnlyFromAnAbsoluteName) {
  EXPECT_EQ(NamesCreatedFor(L"..A", L"P"), Names{L".A"});
}
TEST(LogClient, KeepsDotsInsideItsName) {
  EXPECT_EQ(NamesCreatedFor(L"A.B.", L"P"), Names{L"P.A.B."});
}
TEST(LogClient, CreatesNothingForADotAlone) {
  EXPECT_EQ(NamesCreatedFor(L".", L"P"), Names{});
}
TEST(LogClient, CreatesNothingForAnEmptyName) {
  EXPECT_EQ(NamesCreatedFor(L"", L"P"), Names{});
}
TEST(LogClient, CreatesNothingForANullName) {
  EXPECT_EQ(NamesCreatedFor(nullptr, L"P"), Names{});
}
TEST(LogClient, TakesAnEmptyPrefixForNone) {
  EXPECT_EQ(NamesCreatedFor(L"A", L""), Names{L"A"});
}

/// Calls everything that a client offers.
void UseAll(const LogClient& client) {
  client.Fatal(L"1");
  client.Error(L"2");
  client.Warning(L"3");
  client.Info(L"4");
  client.Debug(L"5");
  client.Secret(L"6");
  client.FatalFormat(L"%d", 11);
  client.ErrorFormat(L"%d", 12);
  client.WarningFormat(L"%d", 13);
  client.InfoFormat(L"%d", 14);
  client.DebugFormat(L"%d", 15);
}

std::vector<int> Queries(const LogClient& client) {
  return {client.IsFatal(), client.IsError(), client.IsWarning(), client.IsInfo(), client.IsDebug(), client.IsSecret()};
}

const std::vector<int> kAllOff(6, 0);

TEST(LogClient, WritesEachLevelToItsFunctionAndSecretsNowhere) {
  RecordingProvider provider;
  UseAll(LogClient(L"A"));
  EXPECT_EQ(provider.messages, (Messages{{1, L"1"},
                                         {2, L"2"},
                                         {3, L"3"},
                                         {4, L"4"},
                                         {5, L"5"},
                                         {1, L"11"},
                                         {2, L"12"},
                                         {3, L"13"},
                                         {4, L"14"},
                                         {5, L"15"}}));
}

TEST(LogClient, AsksEachLevelsFunctionAndNeverForSecrets) {
  for (int level = 0; level <= 5; ++level) {
    RecordingProvider provider(level);
    std::vector<int> expected = kAllOff;
    for (int enabled = 0; enabled < level; ++enabled) expected[enabled] = 1;
    EXPECT_EQ(Queries(LogClient(L"A")), expected) << "level " << level;
  }
}

TEST(LogClient, HandsOnWhatTheProviderAnswers) {
  RecordingProvider provider;
  QEL_LogInterface interface = RecordingProvider::Interface();
  interface.isInfo = [](HLOGGER) { return 7; };
  interface.isDebug = [](HLOGGER) { return -1; };
  InstalledInterface::Install(&interface);
  EXPECT_EQ(Queries(LogClient(L"A")), (std::vector<int>{1, 1, 1, 7, -1, 0}));
}

TEST(LogClient, WritesAnEmptyMessage) {
  RecordingProvider provider;
  LogClient(L"A").Warning(L"");
  EXPECT_EQ(provider.messages, (Messages{{3, L""}}));
}

TEST(LogClient, HandsOnThatAMessageIsNull) {
  RecordingProvider provider;
  static int nulls;
  nulls = 0;
  QEL_LogInterface interface = RecordingProvider::Interface();
  interface.error = [](HLOGGER, const wchar_t* message) { nulls += message == nullptr; };
  InstalledInterface::Install(&interface);
  LogClient(L"A").Error(nullptr);
  EXPECT_EQ(nulls, 1);
}

/// Expects a client of that name to do nothing, neither to the provider nor while it dies.
void ExpectNothingDone(const wchar_t* name, const RecordingProvider& provider) {
  {
    const LogClient client(name);
    UseAll(client);
    EXPECT_EQ(Queries(client), kAllOff);
  }
  EXPECT_EQ(provider.messages, Messages{});
  EXPECT_TRUE(provider.destroyed.empty());
}

TEST(LogClient, WithoutAProviderDoesNothing) {
  RecordingProvider provider;
  InstalledInterface::Install(nullptr);
  ExpectNothingDone(L"A", provider);
}

TEST(LogClient, WithoutALoggerDoesNothing) {
  RecordingProvider provider;
  ExpectNothingDone(L".", provider);
}

TEST(LogClient, WhoseLoggerCouldNotBeMadeDoesNothing) {
  RecordingProvider provider;
  provider.failCreation = true;
  ExpectNothingDone(L"A", provider);
}

TEST(LogClient, DoesWithoutTheFunctionsThatAProviderLacks) {
  RecordingProvider provider;
  QEL_LogInterface createOnly{};
  createOnly.create = RecordingProvider::Interface().create;
  RecordingProvider::Install(createOnly);
  {
    const LogClient client(L"A");
    UseAll(client);
    EXPECT_EQ(Queries(client), kAllOff);
  }
  EXPECT_EQ(provider.created, Names{L"A"});
  EXPECT_EQ(provider.messages, Messages{});
}

/// Throws in every one of its functions but the creation, and there as well while `creation` is set.
struct ThrowingProvider {
  static inline bool creation = false;
  static int Create(const wchar_t*, HLOGGER* logger) {
    static int made = 0;
    *logger = &made;
    return creation ? throw std::runtime_error("creation") : 1;
  }
  static void Destroy(HLOGGER) { throw std::runtime_error("destruction"); }
  static int Query(HLOGGER) { throw std::bad_alloc(); }
  static void Write(HLOGGER, const wchar_t*) { throw 1; }
};

class LogClientOfAThrowingProvider : public ::testing::TestWithParam<bool> {};

TEST_P(LogClientOfAThrowingProvider, FailsNoCaller) {
  RecordingProvider cleansUp;
  ThrowingProvider::creation = GetParam();
  using P = ThrowingProvider;
  RecordingProvider::Install({P::Create, P::Destroy, P::Query, P::Query, P::Query, P::Query, P::Query,  //
                              P::Write, P::Write, P::Write, P::Write, P::Write});
  EXPECT_NO_THROW({
    const LogClient client(L"A");
    UseAll(client);
    EXPECT_EQ(Queries(client), kAllOff);
  });
}

INSTANTIATE_TEST_SUITE_P(Creation, LogClientOfAThrowingProvider, ::testing::Bool(),
                         [](const auto& info) { return info.param ? "Throws" : "Succeeds"; });

TEST(LogClient, FailsNoCallerWhenTheCallbackProviderHasNoConverter) {
  QEL_LogInterface callback{};
  QEL_LogImpl_Callback::GetInterface(&callback);
  const ScopedLocale locale("C");
  static int calls;
  calls = 0;
  QEL_LogImpl_Callback::Configure([](auto, auto, auto) { ++calls; }, QEL_LogImpl_Callback::LogLevel::Debug, "C");
  RecordingProvider cleansUp;
  RecordingProvider::Install(callback);
  const LogClient client(L"A");
  QELIconv::SetDefaultEncoding("no-such-encoding");
  EXPECT_NO_THROW(UseAll(client));
  QELIconv::SetDefaultEncoding("UTF-8");
  EXPECT_EQ(calls, 0);
  client.Info(L"x");
  EXPECT_EQ(calls, 1);
  QEL_LogImpl_Callback::Configure(nullptr, QEL_LogImpl_Callback::LogLevel::Off, "C");
}

TEST(LogClient, FormatsNothingWithoutALogger) {
  RecordingProvider provider;
  const LogClient without(L".");
  const LogClient with(L"A");
  int formatted = 0;
  without.InfoFormat(L"abc%n", &formatted);
  EXPECT_EQ(formatted, 0);
  with.InfoFormat(L"abc%n", &formatted);
  EXPECT_EQ(formatted, 3);
}

TEST(LogClient, DestroysItsLoggerOnce) {
  RecordingProvider provider;
  auto client = std::make_unique<LogClient>(L"A");
  EXPECT_TRUE(provider.destroyed.empty());
  client.reset();
  EXPECT_EQ(provider.destroyed, std::vector<HLOGGER>{&provider});
}

TEST(LogClient, KeepsItsProviderWhenAnotherIsInstalled) {
  RecordingProvider provider;
  const LogClient client(L"A");
  InstalledInterface::Install(nullptr);
  client.Info(L"still here");
  EXPECT_EQ(provider.messages, (Messages{{4, L"still here"}}));
}

TEST(LogClient, AsksForItsLoggerWithoutHoldingALock) {
  RecordingProvider provider;
  provider.duringCreation = [] { InstalledInterface::SetPrefix(L"set meanwhile"); };
  const LogClient client(L"A");
  EXPECT_EQ(provider.created, Names{L"A"});
}

TEST(LogClient, FormatsWideArguments) {
  RecordingProvider provider;
  LogClient(L"A").InfoFormat(L"%ls() => 0x%08lX", L"C_Sign", 0x101ul);
  EXPECT_EQ(provider.messages, (Messages{{4, L"C_Sign() => 0x00000101"}}));
}

TEST(LogClient, WritesAFormattedMessageOf4095Characters) {
  RecordingProvider provider;
  const std::wstring text(4095, L'x');
  LogClient(L"A").InfoFormat(L"%ls", text.c_str());
  EXPECT_EQ(provider.messages, (Messages{{4, text}}));
}

TEST(LogClient, ReplacesALongerFormattedMessage) {
  RecordingProvider provider;
  LogClient(L"A").InfoFormat(L"%ls", std::wstring(4096, L'x').c_str());
  EXPECT_EQ(provider.messages, (Messages{{4, L"Message too long."}}));
}

TEST(LogClient, ReplacesAnEmptyFormattedMessage) {
  RecordingProvider provider;
  LogClient(L"A").ErrorFormat(L"%ls", L"");
  EXPECT_EQ(provider.messages, (Messages{{2, L"Message too long."}}));
}

TEST(LogClient, ReplacesAMessageThatCannotBeFormatted) {
  RecordingProvider provider;
  const ScopedLocale locale(Utf8Locale());
  LogClient(L"A").ErrorFormat(L"%s", "\xff");
  EXPECT_EQ(provider.messages, (Messages{{2, L"Message too long."}}));
}

TEST(LogClient, WritesAPlainMessageOfAnyLengthAsItIs) {
  RecordingProvider provider;
  const std::wstring text = std::wstring(10000, L'x') + L"%d %ls";
  LogClient(L"A").Info(text.c_str());
  EXPECT_EQ(provider.messages, (Messages{{4, text}}));
}

TEST(LogClient, IsNotCopied) {
  EXPECT_FALSE(std::is_copy_constructible_v<LogClient>);
  EXPECT_FALSE(std::is_copy_assignable_v<LogClient>);
}

}  // namespace
