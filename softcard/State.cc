#include "softcard/State.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>
#include <stdexcept>

namespace SoftCard {

NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(Token, label, serial, triesLeft)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(Card, name, serial, pinPad, slotType, tokens)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(Reader, name, card, insertions)
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE_WITH_DEFAULT(State, readers, cards, trace, library, parameters)

namespace {

[[noreturn]] void Fail(const std::filesystem::path& file, const std::string& reason) {
  throw std::runtime_error(file.string() + ": " + reason);
}

/// An open file, closed at the end of the scope.
class File {
 public:
  File(const std::filesystem::path& path, int flags) : m_descriptor(open(path.c_str(), flags | O_CLOEXEC, 0600)) {
    if (m_descriptor < 0) Fail(path, std::strerror(errno));
  }
  ~File() { close(m_descriptor); }
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  int Descriptor() const { return m_descriptor; }

 private:
  int m_descriptor;
};

/// Turns numbers with a fraction into nulls, which no member takes: there are none in a state, and making an integer of
/// a large one is undefined.
bool WithoutFractions(int, nlohmann::json::parse_event_t, nlohmann::json& parsed) {
  if (parsed.is_number_float()) parsed = nullptr;
  return true;
}

template <typename Named>
Named* FindByName(std::vector<Named>& list, const std::string& name) {
  const auto found = std::find_if(list.begin(), list.end(), [&](const Named& each) { return each.name == name; });
  return found == list.end() ? nullptr : &*found;
}

}  // namespace

Card* State::FindCard(const std::string& name) {
  return FindByName(cards, name);
}

Reader* State::FindReader(const std::string& name) {
  return FindByName(readers, name);
}

std::filesystem::path StateDirectory() {
  const char* chosen = std::getenv("QEL_SOFTCARD_DIR");
  return chosen && *chosen ? chosen : QEL_SOFTCARD_STATE_DIR;
}

State Load(const std::filesystem::path& directory) {
  const auto file = directory / "state.json";
  std::ifstream in(file);
  if (!in) {
    if (errno == ENOENT || errno == ENOTDIR) return {};
    Fail(file, std::strerror(errno));
  }
  try {
    return nlohmann::json::parse(in, WithoutFractions).get<State>();
  } catch (const nlohmann::json::exception& error) {
    Fail(file, std::string("not a soft card state; remove it to begin without cards (") + error.what() + ")");
  }
}

std::vector<Reader> Readers(const std::filesystem::path& directory) {
  return Load(directory).readers;
}

void Update(const std::filesystem::path& directory, const std::function<void(State&)>& change) {
  MakePrivateDirectory(directory);
  const auto lockFile = directory / "lock";
  const File lock(lockFile, O_RDWR | O_CREAT);
  while (flock(lock.Descriptor(), LOCK_EX) != 0)
    if (errno != EINTR) Fail(lockFile, std::strerror(errno));

  State state = Load(directory);
  change(state);
  WritePrivateFile(directory / "state.json", nlohmann::json(state).dump(2) + "\n");
}

void MakePrivateDirectory(const std::filesystem::path& directory) {
  std::error_code error;
  if (std::filesystem::is_directory(directory, error)) return;
  if (directory.has_parent_path()) std::filesystem::create_directories(directory.parent_path(), error);
  if (error) Fail(directory, error.message());
  if (mkdir(directory.c_str(), 0700) != 0 && errno != EEXIST) Fail(directory, std::strerror(errno));
}

void WritePrivateFile(const std::filesystem::path& file, const std::string& text) {
  const auto fresh = file.string() + ".new";
  {
    const File out(fresh, O_WRONLY | O_CREAT | O_TRUNC);
    for (size_t done = 0; done < text.size();) {
      const auto written = write(out.Descriptor(), text.data() + done, text.size() - done);
      if (written < 0 && errno == EINTR) continue;
      if (written < 0) Fail(fresh, std::strerror(errno));
      done += static_cast<size_t>(written);
    }
    if (fsync(out.Descriptor()) != 0) Fail(fresh, std::strerror(errno));
  }
  if (std::rename(fresh.c_str(), file.c_str()) != 0) Fail(file, std::strerror(errno));
}

}  // namespace SoftCard
