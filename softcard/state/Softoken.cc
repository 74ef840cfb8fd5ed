#include "softcard/state/Softoken.h"

#include <sstream>
#include <stdexcept>

namespace SoftCard {

namespace {

constexpr size_t kFirstSlot = 4;  // those before are softoken's own
constexpr size_t kLastSlot = 100;
constexpr int kShortestPin = 4;  // as SoftHSM2 has it

// What ends a quoted value, or one of the two brackets around it.
constexpr char kNotInParameters[] = "'>]\\";

std::filesystem::path Database(const std::filesystem::path& directory, const std::string& label) {
  return std::filesystem::absolute(directory / "nss" / label);
}

}  // namespace

void MakeSoftokenDatabases(const std::filesystem::path& directory, const Card& card) {
  for (const auto& token : card.tokens) {
    const auto folder = Database(directory, token.label);
    MakePrivateDirectory(folder.parent_path());
    MakePrivateDirectory(folder);
  }
}

std::string SoftokenParameters(const std::filesystem::path& directory, const std::vector<Card>& cards) {
  const auto folder = std::filesystem::absolute(directory).string();
  if (folder.find_first_of(kNotInParameters) != std::string::npos)
    throw std::runtime_error(folder + ": NSS softoken takes no folder with one of " + kNotInParameters +
                             " in its path; QEL_SOFTCARD_DIR chooses another");
  std::ostringstream tokens;
  auto slot = kFirstSlot;
  for (const auto& card : cards)
    for (const auto& token : card.tokens)
      tokens << " 0x" << std::hex << slot++ << std::dec
             << "=[configDir='sql:" << Database(directory, token.label).string() << "' tokenDescription='"
             << token.label << "' minPWLen=" << kShortestPin << " flags=readWrite]";
  if (slot == kFirstSlot) return {};
  if (slot > kLastSlot + 1)
    throw std::runtime_error("NSS softoken has slots for " + std::to_string(kLastSlot + 1 - kFirstSlot) +
                             " tokens, and there are " + std::to_string(slot - kFirstSlot));
  return "configdir='' certPrefix='' keyPrefix='' secmod='' flags=readWrite,noModDB tokens=<" + tokens.str() + ">";
}

}  // namespace SoftCard
