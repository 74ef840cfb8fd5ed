#ifndef SOFTCARD_STATE_H
#define SOFTCARD_STATE_H

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

/// Soft readers and soft cards: what exists, what is inserted where, how many PIN tries are left.
///
/// Everything is one JSON file, `state.json`, in a folder of the user's own. It is replaced as a whole, never edited
/// in place, so that a reader of the file sees the old state or the new one. PINs and keys are not in it: they are
/// with the PKCS#11 library beneath.
namespace SoftCard {

constexpr int kPinTries = 3;

/// The slot type of a card for which none is configured; it asks for no particular PIN dialog.
constexpr unsigned long kDefaultSlotType = 0x80000001UL;

/// One token of a card, as the library beneath knows it. A reader shows one PKCS#11 slot for each.
struct Token {
  std::string label;          ///< The token's label beneath, without blank padding.
  std::string serial;         ///< The token's serial number beneath, without blank padding.
  int triesLeft = kPinTries;  ///< 0: the PIN is locked. Kept apart, see Tries.h.
};

struct Card {
  std::string name;
  std::string serial = {};  ///< What the token information answers; empty: the serial number beneath.
  bool pinPad = false;
  unsigned long slotType = kDefaultSlotType;
  std::vector<Token> tokens = {};
};

struct Reader {
  std::string name;
  std::string card;              ///< The inserted card's name; empty: none.
  unsigned long insertions = 0;  ///< Grows with every insertion, so that a quick exchange of cards is seen.
};

struct State {
  std::vector<Reader> readers;
  std::vector<Card> cards;
  std::string trace;       ///< File that the PKCS#11 library writes its calls to; empty: none.
  std::string library;     ///< PKCS#11 library beneath; empty: SoftHSM2 where the system has it.
  std::string parameters;  ///< Parameter string for the library beneath, handed over in `pReserved`; empty: none.

  /// The card or reader of that name; null when there is none. Points into this state.
  Card* FindCard(const std::string& name);
  Reader* FindReader(const std::string& name);
};

/// `$QEL_SOFTCARD_DIR`, else `qeltoken/softcard` in `$XDG_STATE_HOME`, which is `~/.local/state` by default. It need
/// not exist.
std::filesystem::path StateDirectory();

/// The state kept in `directory`; an empty one when nothing is kept there.
/// Throws std::runtime_error, naming the file, when it cannot be read or understood.
State Load(const std::filesystem::path& directory);

/// Loads the state, lets `change` work on it and writes it back, while no other process can do the same.
/// Makes the folder when it is missing. What `change` throws leaves the state as it was and passes through.
/// Throws std::runtime_error, naming the file, when it cannot be read or written.
void Update(const std::filesystem::path& directory, const std::function<void(State&)>& change);

/// Makes `directory` and its missing parents; nobody but the owner may enter it.
/// Throws std::runtime_error, naming the folder.
void MakePrivateDirectory(const std::filesystem::path& directory);

/// Replaces `file` by one that holds `text` and that only the owner may read: any reader sees the old one or the new
/// one, however many write at once. Throws std::runtime_error, naming it.
void WritePrivateFile(const std::filesystem::path& file, const std::string& text);

}  // namespace SoftCard

#endif
