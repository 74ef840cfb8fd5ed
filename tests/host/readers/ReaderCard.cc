#include "tests/host/readers/ReaderCard.h"

#include <unistd.h>

#include <stdexcept>

void PutBehindTheReader(const RealCard& soft, const std::string& card) {
  const ChildResult result = soft.SoftCard({"insert", card, "--reader", SoftSlot()});
  if (result.exitStatus != 0) throw std::runtime_error("softcard insert: " + result.errors);
}

bool Shows(const RealCard& soft, const std::string& state) {
  const std::string line = state + "  " + ReaderService::ReaderName() + "\n";
  for (int attempt = 0; attempt < 100; ++attempt, usleep(100000))
    if (soft.Host({"readers"}).output.find(line) != std::string::npos) return true;
  return false;
}
