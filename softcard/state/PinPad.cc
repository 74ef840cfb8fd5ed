#include "softcard/state/PinPad.h"

#include <fcntl.h>
#include <openssl/crypto.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <thread>

#include "softcard/state/FileLock.h"
#include "softcard/state/State.h"
#include "softcard/state/Tries.h"

namespace SoftCard {

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::milliseconds kInterval{100};

// First byte of the message that goes through the pipe in one write; the PIN follows an entry.
constexpr char kEnter = 'E';
constexpr char kCancel = 'C';

std::filesystem::path PipeOf(const std::filesystem::path& directory, const std::string& card) {
  return LiveDirectory(directory) / ("pinpad-" + card);
}

/// The pipe, and its name in the folder, for as long as a login waits at it.
class WaitingPipe {
 public:
  explicit WaitingPipe(std::filesystem::path path) : m_path(std::move(path)) {
    std::filesystem::remove(m_path);
    if (mkfifo(m_path.c_str(), 0600) != 0) throw std::runtime_error(m_path.string() + ": " + std::strerror(errno));
    // Opened for writing too, so that there is no end of file while nobody has written yet.
    descriptor = open(m_path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0) throw std::runtime_error(m_path.string() + ": " + std::strerror(errno));
  }
  ~WaitingPipe() {
    std::error_code ignored;
    std::filesystem::remove(m_path, ignored);
    if (descriptor >= 0) close(descriptor);
  }
  WaitingPipe(const WaitingPipe&) = delete;
  WaitingPipe& operator=(const WaitingPipe&) = delete;

  int descriptor = -1;

 private:
  std::filesystem::path m_path;
};

}  // namespace

PinPadAnswer WaitForPinPad(const std::filesystem::path& directory, const std::string& card, std::chrono::seconds limit,
                           const std::function<bool()>& removed) {
  const auto end = Clock::now() + limit;
  // A reader has one PIN pad: the logins of several processes wait for it one after the other.
  MakePrivateDirectory(LiveDirectory(directory));
  FileLock turn(PipeOf(directory, card).string() + ".lock");
  std::optional<WaitingPipe> pipe;
  while (Clock::now() < end) {
    if (removed()) return {PinPadAnswer::Removed, {}};
    if (!pipe && !turn.TryToTake()) {
      std::this_thread::sleep_for(kInterval);
      continue;
    }
    if (!pipe) pipe.emplace(PipeOf(directory, card));
    pollfd ready{pipe->descriptor, POLLIN, 0};
    if (poll(&ready, 1, static_cast<int>(kInterval.count())) <= 0) continue;
    char message[512];
    const auto length = read(pipe->descriptor, message, sizeof message);
    if (length <= 0) continue;
    PinPadAnswer answer{message[0] == kEnter ? PinPadAnswer::Entered : PinPadAnswer::Cancelled, {}};
    if (answer.kind == PinPadAnswer::Entered) answer.pin.assign(message + 1, static_cast<size_t>(length - 1));
    OPENSSL_cleanse(message, sizeof message);
    return answer;
  }
  return {PinPadAnswer::TimedOut, {}};
}

bool AnswerPinPad(const std::filesystem::path& directory, const std::string& card, const std::string* pin,
                  std::chrono::seconds patience) {
  const auto path = PipeOf(directory, card);
  const auto end = Clock::now() + patience;
  int descriptor = -1;
  while ((descriptor = open(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC)) < 0) {
    // ENXIO: a pipe that nobody waits at any more.
    if (errno != ENOENT && errno != ENXIO) throw std::runtime_error(path.string() + ": " + std::strerror(errno));
    if (Clock::now() >= end) return false;
    std::this_thread::sleep_for(kInterval);
  }
  struct stat status {};
  if (fstat(descriptor, &status) != 0 || !S_ISFIFO(status.st_mode)) {  // a file would keep the PIN
    close(descriptor);
    throw std::runtime_error(path.string() + ": no pipe that a login waits at");
  }
  std::string message(1, pin ? kEnter : kCancel);
  if (pin) message += *pin;
  const auto written = write(descriptor, message.data(), message.size());
  OPENSSL_cleanse(message.data(), message.size());
  close(descriptor);
  if (written != static_cast<ssize_t>(message.size()))
    throw std::runtime_error(path.string() + ": " + std::strerror(errno));
  return true;
}

}  // namespace SoftCard
