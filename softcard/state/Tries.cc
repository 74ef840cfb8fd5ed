#include "softcard/state/Tries.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <nlohmann/json.hpp>
#include <stdexcept>

#include "softcard/state/State.h"

namespace SoftCard {

namespace {

constexpr off_t kLargest = 64 * 1024;
constexpr int kDepth = 2;  // an object of lists

std::filesystem::path File(const std::filesystem::path& directory) {
  return LiveDirectory(directory) / "tries.json";
}

/// The text of a small file that is nothing else, such as a pipe that nobody writes to; empty for others.
std::string SmallText(const std::filesystem::path& path) {
  const int file = open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (file < 0) return {};
  struct stat status {};
  const bool isSmall = fstat(file, &status) == 0 && S_ISREG(status.st_mode) && status.st_size <= kLargest;
  std::string text(isSmall ? static_cast<size_t>(status.st_size) : 0, '\0');
  const ssize_t got = read(file, text.data(), text.size());
  close(file);
  text.resize(got > 0 ? static_cast<size_t>(got) : 0);
  return text;
}

int CountFrom(const nlohmann::json& number) {
  const auto count = number.is_number_integer() ? number.get<int64_t>() : int64_t{kPinTries};
  return count < 0 || count > kPinTries ? kPinTries : static_cast<int>(count);
}

void Write(const std::filesystem::path& directory, const Tries& tries) {
  WritePrivateFile(File(directory), nlohmann::json(tries).dump(2) + "\n");
}

/// The lock that whoever changes the counts holds.
std::unique_ptr<FileLock> Turn(const std::filesystem::path& directory) {
  const auto folder = LiveDirectory(directory);
  MakePrivateDirectory(folder);
  auto lock = std::make_unique<FileLock>(folder / "lock");
  lock->Take();
  return lock;
}

}  // namespace

std::filesystem::path LiveDirectory(const std::filesystem::path& directory) {
  return directory / "live";
}

Tries ReadTries(const std::filesystem::path& directory) {
  const auto shallow = [](int depth, nlohmann::json::parse_event_t, nlohmann::json&) { return depth <= kDepth; };
  const auto kept = nlohmann::json::parse(SmallText(File(directory)), shallow, false);
  Tries tries;
  if (!kept.is_object()) return tries;
  for (const auto& [card, counts] : kept.items())
    if (counts.is_array())
      for (const auto& count : counts) tries[card].push_back(CountFrom(count));
  return tries;
}

void ChangeTries(const std::filesystem::path& directory, const std::string& card, size_t token,
                 const std::function<void(int&)>& change) {
  const auto turn = Turn(directory);
  Tries tries = ReadTries(directory);
  auto& counts = tries[card];
  if (counts.size() <= token) counts.resize(token + 1, kPinTries);
  change(counts[token]);
  Write(directory, tries);
}

std::unique_ptr<FileLock> HoldLoginsOff(const std::filesystem::path& directory) {
  try {
    return std::filesystem::exists(directory) ? Turn(directory) : nullptr;
  } catch (const std::exception&) {
    return nullptr;
  }
}

void WriteTries(const std::filesystem::path& directory, const Tries& tries) {
  const auto turn = Turn(directory);
  Tries kept = ReadTries(directory);
  for (const auto& [card, counts] : tries) kept[card] = counts;
  Write(directory, kept);
}

}  // namespace SoftCard
