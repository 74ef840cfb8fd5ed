// To be preloaded into the loader: notes which functions of the image run. The loader hands the unwinder tables, the
// first of which has all functions with compact frames, before it makes their code executable; here each of them gets a
// breakpoint at its start, which is taken away when it is met. The offsets from the first function go to a file
// reached.PROCESS in the folder of LLVM_PROFILE_FILE, where the sandbox lets programs write that measure their
// coverage.

#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <ucontext.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <string>

namespace {

constexpr uint8_t kBreakpoint = 0xCC;
constexpr uintptr_t kPageSize = 0x1000;

std::map<uintptr_t, uint8_t>* s_first = nullptr;  ///< the first byte of each function, by address
int s_file = -1;

/// Runs in a signal handler of a thread that has just begun a function, so that no lock of the map or the C library is
/// held by the code it interrupts.
void Reached(int, siginfo_t*, void* context) {
  auto& counter = static_cast<ucontext_t*>(context)->uc_mcontext.gregs[REG_RIP];
  const auto found = s_first->find(static_cast<uintptr_t>(counter) - 1);
  if (found == s_first->end()) std::abort();
  void* const page = reinterpret_cast<void*>(found->first & ~(kPageSize - 1));
  mprotect(page, kPageSize, PROT_READ | PROT_WRITE | PROT_EXEC);
  *reinterpret_cast<uint8_t*>(found->first) = found->second;
  mprotect(page, kPageSize, PROT_READ | PROT_EXEC);
  counter = static_cast<greg_t>(found->first);
  char line[32];
  const int length = std::snprintf(line, sizeof line, "%zx\n", found->first - s_first->begin()->first);
  if (write(s_file, line, static_cast<size_t>(length)) != length) std::abort();
}

/// The start of each function that the table has an entry for.
void ReadTable(const uint8_t* record) {
  for (uint32_t length = 0; std::memcpy(&length, record, sizeof length), length != 0; record += 4 + length) {
    uint32_t common = 0;
    std::memcpy(&common, record + 4, sizeof common);
    if (common == 0) continue;  // no function's
    uintptr_t start = 0;
    std::memcpy(&start, record + 8, sizeof start);
    (*s_first)[start] = *reinterpret_cast<uint8_t*>(start);
  }
}

}  // namespace

extern "C" void __register_frame_table(const void** tables) {
  using Register = void (*)(const void**);
  reinterpret_cast<Register>(dlsym(RTLD_NEXT, "__register_frame_table"))(tables);
  const char* const profile = std::getenv("LLVM_PROFILE_FILE");
  if (profile == nullptr) return;
  const auto folder = std::filesystem::path(profile).parent_path();
  s_file =
      open((folder / ("reached." + std::to_string(getpid()))).c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  if (s_file < 0) return;
  s_first = new std::map<uintptr_t, uint8_t>;
  ReadTable(static_cast<const uint8_t*>(tables[0]));
  struct sigaction action = {};
  action.sa_sigaction = Reached;
  action.sa_flags = SA_SIGINFO;
  sigaction(SIGTRAP, &action, nullptr);
  for (const auto& [start, byte] : *s_first) *reinterpret_cast<uint8_t*>(start) = kBreakpoint;
}
