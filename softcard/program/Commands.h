#ifndef SOFTCARD_COMMANDS_H
#define SOFTCARD_COMMANDS_H

#include <chrono>
#include <optional>
#include <stdexcept>
#include <string>

#include "softcard/state/State.h"

namespace SoftCard {

/// No such card or reader, or nobody waits: exit status 3, where other failures are 1.
class NotFound : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The commands that change or show the state kept in `directory`; each throws NotFound or std::runtime_error with a
/// sentence for the user.

/// Puts a card into a reader, which is made when there is none of that name.
void Insert(const std::filesystem::path& directory, const std::string& card, const std::string& reader);

/// Takes the card out of the reader; the reader stays.
void Remove(const std::filesystem::path& directory, const std::string& reader);

/// Takes away an empty reader. The slots of the readers made after it change their numbers.
void Unplug(const std::filesystem::path& directory, const std::string& reader);

/// Gives a card's PIN all its tries back.
void Unlock(const std::filesystem::path& directory, const std::string& card);

/// What `list` prints.
std::string Listing(const std::filesystem::path& directory);

/// Answers the login that waits at a PIN pad: with the PIN, or without one to cancel it. `card` may be empty when only
/// one card with a PIN pad is inserted.
void AnswerWaitingLogin(const std::filesystem::path& directory, const std::string& card, const std::string* pin,
                        std::chrono::seconds patience);

}  // namespace SoftCard

#endif
