// By the number of insertions a login knows its card. The smart-card service counts from nought again when it is
// started or a reader is plugged in; the number must differ all the same. Its library is played by this program.

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>

#include "host/readers/PcscReaders.h"

namespace {

struct Service {
  SCARDCONTEXT run = 1;
  std::map<std::string, DWORD> counts;  ///< of insertions and removals, by reader

  LONG Check(SCARDCONTEXT context) const { return context == run ? SCARD_S_SUCCESS : SCARD_E_SERVICE_STOPPED; }
};

Service g_service;

}  // namespace

LONG SCardEstablishContext(DWORD, LPCVOID, LPCVOID, LPSCARDCONTEXT context) {
  *context = g_service.run;
  return SCARD_S_SUCCESS;
}

LONG SCardReleaseContext(SCARDCONTEXT) {
  return SCARD_S_SUCCESS;
}

LONG SCardListReaders(SCARDCONTEXT context, LPCSTR, LPSTR names, LPDWORD length) {
  if (const LONG problem = g_service.Check(context); problem != SCARD_S_SUCCESS) return problem;
  std::string list;
  for (const auto& [name, count] : g_service.counts) list += name + '\0';
  list += '\0';
  *length = static_cast<DWORD>(list.size());
  if (names) std::copy(list.begin(), list.end(), names);
  return SCARD_S_SUCCESS;
}

LONG SCardGetStatusChange(SCARDCONTEXT context, DWORD, LPSCARD_READERSTATE state, DWORD) {
  if (const LONG problem = g_service.Check(context); problem != SCARD_S_SUCCESS) return problem;
  state->dwEventState = g_service.counts.at(state->szReader) << 16 | SCARD_STATE_PRESENT | SCARD_STATE_CHANGED;
  return SCARD_S_SUCCESS;
}

namespace {

constexpr char kReader[] = "Example Reader 00 00";

using Happening = void (*)(Host::PcscConnection&);

void Nothing(Host::PcscConnection&) {}

void CardTakenOutAndPutBack(Host::PcscConnection&) {
  g_service.counts[kReader] += 2;
}

void ReaderUnpluggedAndPluggedIn(Host::PcscConnection& connection) {
  const DWORD count = g_service.counts.at(kReader);
  g_service.counts.erase(kReader);
  connection.Readers();  // as whoever follows the readers does
  g_service.counts[kReader] = count;
}

void ServiceStartedAgain(Host::PcscConnection&) {
  ++g_service.run;
}

void AnotherReaderPluggedIn(Host::PcscConnection&) {
  g_service.counts["Another Reader 00 00"] = 1;
}

struct Row {
  const char* name;
  Happening happening;
  bool isTheSame;
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.name;
}

class InsertionNumber : public ::testing::TestWithParam<Row> {
 protected:
  InsertionNumber() { g_service = {1, {{kReader, 1}}}; }

  static unsigned long NumberOf(Host::PcscConnection& connection) {
    for (const Host::Reader& reader : connection.Readers().readers)
      if (reader.name == kReader && reader.hasCard) return reader.insertions;
    ADD_FAILURE() << "no card";
    return 0;
  }
};

TEST_P(InsertionNumber, ChangesExactlyWhenTheCardMayBeAnother) {
  Host::PcscConnection connection;
  const unsigned long before = NumberOf(connection);
  GetParam().happening(connection);
  EXPECT_EQ(NumberOf(connection) == before, GetParam().isTheSame);
}

const Row kRows[] = {
    {"nothing", Nothing, true},
    {"a card taken out and put back", CardTakenOutAndPutBack, false},
    {"a reader unplugged and plugged in", ReaderUnpluggedAndPluggedIn, false},
    {"a service started again", ServiceStartedAgain, false},
    {"another reader plugged in", AnotherReaderPluggedIn, true},
};

INSTANTIATE_TEST_SUITE_P(, InsertionNumber, ::testing::ValuesIn(kRows));

}  // namespace
