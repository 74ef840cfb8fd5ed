#include "host/Readers.h"

#include "host/Failure.h"
#include "softcard/State.h"

namespace Host {
namespace {

SoftCard::State LoadState() {
  try {
    return SoftCard::Load(SoftCard::StateDirectory());
  } catch (const std::runtime_error& problem) {
    throw Failure(ExitStatus::NoToken, std::string("the soft readers are not known: ") + problem.what());
  }
}

}  // namespace

std::vector<Reader> Readers() {
  std::vector<Reader> readers;
  for (const SoftCard::Reader& reader : LoadState().readers)
    readers.push_back({reader.name, !reader.card.empty(), reader.insertions});
  return readers;
}

std::optional<int> PinTriesLeft(const std::string& readerName, const std::string& keyID) {
  SoftCard::State state = LoadState();
  const SoftCard::Reader* reader = state.FindReader(readerName);
  const SoftCard::Card* card = reader ? state.FindCard(reader->card) : nullptr;
  if (!card) return std::nullopt;
  // The identifier's first digit: 1 for the first of the reader's slots, 2 for the second.
  const size_t token = !keyID.empty() && keyID.front() == '2' ? 1 : 0;
  return token < card->tokens.size() ? std::optional(card->tokens[token].triesLeft) : std::nullopt;
}

}  // namespace Host
