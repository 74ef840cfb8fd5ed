// A state file of any content: refused with its name, or kept as it is.

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "softcard/state/State.h"

namespace {

namespace fs = std::filesystem;

class Folder {
 public:
  Folder() {
    std::string path = (fs::temp_directory_path() / "qel-state-XXXXXX").string();
    m_path = mkdtemp(path.data());
  }
  ~Folder() { fs::remove_all(m_path); }
  const fs::path& Path() const { return m_path; }

 private:
  fs::path m_path;
};

std::string Text(const fs::path& file) {
  std::ifstream in(file);
  return {std::istreambuf_iterator<char>(in), {}};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const Folder folder;
  const fs::path file = folder.Path() / "state.json";
  std::ofstream(file) << std::string(data, data + size);
  try {
    SoftCard::Update(folder.Path(), [](SoftCard::State& state) { state.FindCard("card"); });
  } catch (const std::runtime_error& error) {
    if (std::string(error.what()).find(file.string()) == std::string::npos) std::abort();
    return 0;
  }
  // What was understood is written once, and stays the same from then on.
  const std::string written = Text(file);
  SoftCard::Update(folder.Path(), [](SoftCard::State&) {});
  if (Text(file) != written) std::abort();
  return 0;
}
