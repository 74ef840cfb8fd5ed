#include "softcard/program/Commands.h"

#include <sstream>

#include "softcard/state/Names.h"
#include "softcard/state/PinPad.h"

namespace SoftCard {

namespace {

Card& Existing(State& state, const std::string& card) {
  if (auto* const found = state.FindCard(card)) return *found;
  throw NotFound("no card " + card + "; softcard list shows the cards that there are");
}

Reader& ExistingReader(State& state, const std::string& reader) {
  if (auto* const found = state.FindReader(reader)) return *found;
  throw NotFound("no reader " + reader + "; softcard list shows the readers that there are");
}

const Reader* ReaderOf(const State& state, const std::string& card) {
  for (const auto& reader : state.readers)
    if (reader.card == card) return &reader;
  return nullptr;
}

std::string TriesText(const Token& token) {
  if (token.triesLeft <= 0) return "PIN locked";
  return std::to_string(token.triesLeft) + (token.triesLeft == 1 ? " PIN try left" : " PIN tries left");
}

/// The one inserted card that has a PIN pad.
std::string OnlyPinPadCard(const State& state) {
  std::string only;
  for (const auto& card : state.cards) {
    if (!card.pinPad || !ReaderOf(state, card.name)) continue;
    if (!only.empty()) throw NotFound("several cards with a PIN pad are inserted; name one with --card");
    only = card.name;
  }
  if (only.empty()) throw NotFound("no card with a PIN pad is inserted");
  return only;
}

}  // namespace

void Insert(const std::filesystem::path& directory, const std::string& card, const std::string& reader) {
  Update(directory, [&](State& state) {
    Existing(state, card);
    if (const auto* where = ReaderOf(state, card))
      throw std::runtime_error("the card is in " + where->name + " already");
    auto* target = state.FindReader(reader);
    if (!target) {
      state.readers.push_back({reader, "", 0});
      target = &state.readers.back();
    }
    if (!target->card.empty())
      throw std::runtime_error(reader + " holds the card " + target->card + "; remove it first");
    target->card = card;
    target->insertions++;
  });
}

void Remove(const std::filesystem::path& directory, const std::string& reader) {
  Update(directory, [&](State& state) {
    auto& found = ExistingReader(state, reader);
    if (found.card.empty()) throw NotFound(reader + " holds no card");
    found.card.clear();
  });
}

void Unplug(const std::filesystem::path& directory, const std::string& reader) {
  Update(directory, [&](State& state) {
    const auto& found = ExistingReader(state, reader);
    if (!found.card.empty()) throw std::runtime_error(reader + " holds the card " + found.card + "; remove it first");
    state.readers.erase(state.readers.begin() + (&found - state.readers.data()));
  });
}

void Unlock(const std::filesystem::path& directory, const std::string& card) {
  Update(directory, [&](State& state) {
    for (auto& token : Existing(state, card).tokens) token.triesLeft = kPinTries;
  });
}

std::string Listing(const std::filesystem::path& directory) {
  const auto state = Load(directory);
  std::ostringstream text;
  for (const auto& reader : state.readers)
    text << "reader \"" << reader.name << "\": " << (reader.card.empty() ? "empty" : "card " + reader.card) << "\n";
  for (const auto& card : state.cards) {
    text << "card " << card.name << ": serial number " << (card.serial.empty() ? card.tokens.at(0).serial : card.serial)
         << ", slot type " << Hex(card.slotType, 8) << (card.pinPad ? ", PIN pad" : "") << "\n";
    for (const auto& token : card.tokens) text << "  token \"" << token.label << "\": " << TriesText(token) << "\n";
  }
  if (!state.trace.empty()) text << "trace: " << state.trace << "\n";
  if (!state.library.empty()) text << "library beneath: " << state.library << "\n";
  return text.str().empty() ? "no readers and no cards; softcard init makes a card\n" : text.str();
}

void AnswerWaitingLogin(const std::filesystem::path& directory, const std::string& card, const std::string* pin,
                        std::chrono::seconds patience) {
  auto state = Load(directory);
  const auto name = card.empty() ? OnlyPinPadCard(state) : Existing(state, card).name;
  if (!AnswerPinPad(directory, name, pin, patience)) throw NotFound("no login waits at the PIN pad of " + name);
}

}  // namespace SoftCard
