// Runs under callgrind and makes it write how many instructions the product takes as what it works on grows: a profile
// for each "what/size". Above the null library; script/bench growth reads them.

#include <cstdlib>
#include <filesystem>

#include "bench/Callgrind.h"
#include "bench/NullCard.h"
#import "bench/TokenInProcess.h"
#include "log/DefaultLogPath.h"
#include "log/QELLog.h"
#include "log/TokenLog.h"

namespace {

constexpr int kObjects[] = {1, 10, 100, 1000, 10000};
constexpr int kSlots[] = {1, 2, 4, 8, 16, 32, 64};
constexpr int kMebibytes[] = {1, 32, 1024};
constexpr int kWarmUps = 1;  // the largest take their time

void Set(const char *variable, int number) {
  setenv(variable, std::to_string(number).c_str(), 1);
}

void Count(const std::string &what, int size, const std::function<void()> &operation) {
  CountInstructions(what + "/" + std::to_string(size), operation, kWarmUps);
}

void CountConstructions(const std::string &what, const char *variable, const int *first, const int *last) {
  for (const int *size = first; size != last; ++size) {
    Set(variable, *size);
    Count(what, *size, [] { TokenInProcess::ConstructAndEnd(NullCard::kReader); });
  }
  unsetenv(variable);
}

void CountSearches() {
  const SigningKey rsa = {"RSA-2048", {0, 0, 0, 1}, CKM_RSA_PKCS, 256, 32};
  NSData *block = NewData(rsa.PlatformInput()), *key = NewKeyID(rsa.id);
  TKTokenKeyAlgorithm *algorithm = NewSigningAlgorithm(rsa);
  for (const int size : kObjects) {
    Set(NullCard::kCertificates, size);
    TokenInProcess token(NullCard::kReader);
    Count("a signature, by certificates", size, [&] { token.Sign(block, key, algorithm); });
  }
}

/// The file is long, and most of it a hole.
void CountLogLines() {
  QELTok::InitLogging();
  const std::filesystem::path file = QELTok::DefaultLogPath();
  for (const int size : kMebibytes) {
    QELLog::Info() << "The first line makes the file.";
    std::filesystem::resize_file(file, static_cast<uintmax_t>(size) << 20);
    Count("a line of the token log, by MiB", size, [] { QELLog::Info() << "Loading content from QEL-00A1B2C3"; });
  }
  std::filesystem::remove(file);
}

}  // namespace

int main() {
  CountConstructions("construction, by certificates", NullCard::kCertificates, std::begin(kObjects),
                     std::end(kObjects));
  CountConstructions("construction, by slots", NullCard::kSlots, std::begin(kSlots), std::end(kSlots));
  CountSearches();
  CountLogLines();
}
