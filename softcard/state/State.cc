#include "softcard/state/State.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "softcard/state/FileLock.h"
#include "softcard/state/Tries.h"

namespace SoftCard {

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(Token, label, serial)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(Card, name, serial, pinPad, slotType, tokens)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(Reader, name, card, insertions)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(State, readers, cards, trace, library, parameters)

namespace {

[[noreturn]] void Fail(const std::filesystem::path& file, const std::string& reason) {
  const bool denied = reason == std::strerror(EACCES) || reason == std::strerror(EROFS);
  throw std::runtime_error(file.string() + ": " + reason +
                           (denied ? "; set QEL_SOFTCARD_DIR to a folder of your own" : ""));
}

/// A new file beside `file`, with a name of its own so that any number of processes write at once, until it takes that
/// file's place. Removed when it does not.
class FreshFile {
 public:
  explicit FreshFile(const std::filesystem::path& file)
      : m_name(file.string() + ".XXXXXX"), m_descriptor(mkostemp(m_name.data(), O_CLOEXEC)) {
    if (m_descriptor < 0) Fail(file, std::strerror(errno));
  }
  ~FreshFile() {
    close(m_descriptor);
    if (!m_name.empty()) unlink(m_name.c_str());
  }
  FreshFile(const FreshFile&) = delete;
  FreshFile& operator=(const FreshFile&) = delete;

  void Write(const std::string& text) const {
    for (size_t done = 0; done < text.size();) {
      const auto written = write(m_descriptor, text.data() + done, text.size() - done);
      if (written < 0 && errno == EINTR) continue;
      if (written < 0) Fail(m_name, std::strerror(errno));
      done += static_cast<size_t>(written);
    }
    if (fsync(m_descriptor) != 0) Fail(m_name, std::strerror(errno));
  }

  void TakePlaceOf(const std::filesystem::path& file) {
    if (std::rename(m_name.c_str(), file.c_str()) != 0) Fail(file, std::strerror(errno));
    m_name.clear();
  }

 private:
  std::string m_name;
  int m_descriptor;
};

/// Turns numbers with a fraction into nulls, which no member takes: there are none in a state, and making an integer of
/// a large one is undefined.
bool WithoutFractions(int, nlohmann::json::parse_event_t, nlohmann::json& parsed) {
  if (parsed.is_number_float()) parsed = nullptr;
  return true;
}

std::string Variable(const char* name) {
  const char* const value = std::getenv(name);
  return value ? value : "";
}

std::string Home() {
  if (const std::string home = Variable("HOME"); !home.empty()) return home;
  const passwd* const user = getpwuid(getuid());
  return user ? user->pw_dir : "/";
}

template <typename Named>
Named* FindByName(std::vector<Named>& list, const std::string& name) {
  const auto found = std::find_if(list.begin(), list.end(), [&](const Named& each) { return each.name == name; });
  return found == list.end() ? nullptr : &*found;
}

Tries TriesOf(const State& state) {
  Tries tries;
  for (const Card& card : state.cards)
    for (const Token& token : card.tokens) tries[card.name].push_back(token.triesLeft);
  return tries;
}

State WithTries(State state, const Tries& tries) {
  for (Card& card : state.cards) {
    const auto counts = tries.find(card.name);
    for (size_t i = 0; counts != tries.end() && i < std::min(card.tokens.size(), counts->second.size()); i++)
      card.tokens[i].triesLeft = counts->second[i];
  }
  return state;
}

}  // namespace

Card* State::FindCard(const std::string& name) {
  return FindByName(cards, name);
}

Reader* State::FindReader(const std::string& name) {
  return FindByName(readers, name);
}

std::filesystem::path StateDirectory() {
  if (const std::string chosen = Variable("QEL_SOFTCARD_DIR"); !chosen.empty()) return chosen;
  std::filesystem::path states = Variable("XDG_STATE_HOME");
  if (!states.is_absolute()) states = std::filesystem::path(Home()) / ".local/state";  // a relative one does not count
  return states / "qeltoken/softcard";
}

State Load(const std::filesystem::path& directory) {
  const auto file = directory / "state.json";
  std::ifstream in(file);
  if (!in) {
    if (errno == ENOENT || errno == ENOTDIR) return {};
    Fail(file, std::strerror(errno));
  }
  try {
    return WithTries(nlohmann::json::parse(in, WithoutFractions).get<State>(), ReadTries(directory));
  } catch (const nlohmann::json::exception& error) {
    Fail(file, std::string("not a soft card state; remove it to begin without cards (") + error.what() + ")");
  }
}

void Update(const std::filesystem::path& directory, const std::function<void(State&)>& change) {
  MakePrivateDirectory(directory);
  FileLock lock(directory / "lock");
  lock.Take();
  State state = Load(directory);
  const Tries before = TriesOf(state);
  change(state);
  WritePrivateFile(directory / "state.json", nlohmann::json(state).dump(2) + "\n");
  if (const Tries tries = TriesOf(state); tries != before) WriteTries(directory, tries);
}

void MakePrivateDirectory(const std::filesystem::path& directory) {
  std::error_code error;
  if (std::filesystem::is_directory(directory, error)) return;
  if (directory.has_parent_path()) std::filesystem::create_directories(directory.parent_path(), error);
  if (error) Fail(directory, error.message());
  if (mkdir(directory.c_str(), 0700) != 0 && errno != EEXIST) Fail(directory, std::strerror(errno));
}

void WritePrivateFile(const std::filesystem::path& file, const std::string& text) {
  FreshFile fresh(file);
  fresh.Write(text);
  fresh.TakePlaceOf(file);
}

}  // namespace SoftCard
