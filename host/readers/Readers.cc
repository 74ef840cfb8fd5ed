#include "host/readers/Readers.h"

#include <algorithm>

#include "host/base/Failure.h"
#include "host/readers/PcscReaders.h"
#include "softcard/state/State.h"

namespace Host {
namespace {

constexpr int kTimeToNotice = 1000;  // milliseconds

SoftCard::State LoadState() {
  try {
    return SoftCard::Load(SoftCard::StateDirectory());
  } catch (const std::runtime_error& problem) {
    throw Failure(ExitStatus::NoToken, std::string("the soft readers cannot be read: ") + problem.what() +
                                           "; mend that file, or remove it and make the cards again");
  }
}

const Reader* Find(const std::vector<Reader>& readers, const std::string& name) {
  const auto found = std::find_if(readers.begin(), readers.end(), [&](auto& reader) { return reader.name == name; });
  return found == readers.end() ? nullptr : &*found;
}

}  // namespace

std::vector<Reader> WithSoftReaders(std::vector<Reader> readers) {
  for (const SoftCard::Reader& soft : LoadState().readers) {
    if (!Find(readers, soft.name)) readers.push_back({soft.name, !soft.card.empty(), soft.insertions});
  }
  return readers;
}

std::vector<Reader> Readers() {
  return WithSoftReaders(PcscConnection().Readers().readers);
}

std::string ServiceProblem() {
  return PcscConnection().Readers().problem;
}

std::string WhatIsGone(const std::string& name) {
  PcscConnection service;
  const std::vector<Reader> before = service.Readers().readers;
  const Reader* reader = Find(before, name);
  if (reader && reader->hasCard) service.Wait(kTimeToNotice);
  const ServiceReaders now = service.Readers();
  const std::vector<Reader> all = WithSoftReaders(now.readers);
  reader = Find(all, name);
  if (reader) return reader->hasCard ? "" : "the card was taken out of " + name + "; put it back";
  return now.problem.empty() ? "the reader " + name + " was unplugged; plug it in"
                             : "the reader " + name + " is gone, because " + now.problem;
}

std::optional<unsigned long> InsertionOf(const std::string& name) {
  const std::vector<Reader> all = Readers();
  const Reader* const reader = Find(all, name);
  return reader && reader->hasCard ? std::optional(reader->insertions) : std::nullopt;
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
