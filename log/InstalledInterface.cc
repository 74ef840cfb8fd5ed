#include "log/InstalledInterface.h"

#include <mutex>

namespace {

struct State {
  std::mutex mutex;
  InstalledInterface::Copy installed{};
};

State& TheState() {
  static State state;
  return state;
}

}  // namespace

void InstalledInterface::Install(const QEL_LogInterface* interface) {
  State& state = TheState();
  const std::lock_guard<std::mutex> lock(state.mutex);
  state.installed.interface = interface ? *interface : QEL_LogInterface {};
}

void InstalledInterface::SetPrefix(const wchar_t* prefix) {
  State& state = TheState();
  const std::lock_guard<std::mutex> lock(state.mutex);
  state.installed.prefix = prefix ? prefix : L"";
}

InstalledInterface::Copy InstalledInterface::Get() {
  State& state = TheState();
  const std::lock_guard<std::mutex> lock(state.mutex);
  return state.installed.interface.create ? state.installed : Copy{};
}
