#include "bench/BenchCard.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace BenchCard {

namespace {

std::vector<unsigned char> Bytes(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::vector<unsigned char> bytes{std::istreambuf_iterator<char>(file), {}};
  if (bytes.empty()) throw std::runtime_error("there is no " + path.string());
  return bytes;
}

}  // namespace

std::string WithCertificates(int count) {
  return std::to_string(count) + "-certificates";
}

std::filesystem::path Store(const std::string& name) {
  const char* folder = std::getenv("QEL_BENCH_CARDS");
  if (folder == nullptr) throw std::runtime_error("QEL_BENCH_CARDS is not set; script/bench does it");
  return std::filesystem::path(folder) / name;
}

std::string Use(const std::string& name) {
  std::string reader;
  if (!std::getline(std::ifstream(Store(name) / "reader"), reader))
    throw std::runtime_error("there is no card " + name);
  setenv("SOFTHSM2_CONF", (Store(name) / "softhsm2.conf").c_str(), 1);
  unsetenv("QEL_SOFTCARD_DIR");
  return reader;
}

std::vector<unsigned char> Ciphertext() {
  return Bytes(Store(kMain) / kCiphertextFile);
}

std::vector<unsigned char> PeerKey() {
  return Bytes(Store(kMain) / kPeerKeyFile);
}

}  // namespace BenchCard
