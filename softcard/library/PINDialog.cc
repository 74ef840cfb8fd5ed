// Stands in for the maker's PIN dialog library: says on standard error, and in a record beside the soft cards, what a
// user would see in the dialog.

#include <cstdio>
#include <fstream>
#include <string>

#include "softcard/state/State.h"

namespace {

void Say(const std::string& text) noexcept {
  try {
    std::fprintf(stderr, "[PIN dialog] %s\n", text.c_str());
    const auto directory = SoftCard::StateDirectory();
    SoftCard::MakePrivateDirectory(directory);
    std::ofstream(directory / "pin-dialog.log", std::ios::app) << text << "\n";
  } catch (const std::exception& error) {
    std::fprintf(stderr, "[PIN dialog] no record: %s\n", error.what());
  }
}

}  // namespace

/// (1, kind, 1) shows the login dialog of that kind, (1, 1, 2) hides it. Returns 0 for these two, -1 for anything else.
extern "C" __attribute__((visibility("default"))) int PINPadDialogP(int purpose, int kind, int action) {
  const bool show = action == 1;
  if (purpose != 1 || (!show && action != 2)) {
    Say("not understood: " + std::to_string(purpose) + ", " + std::to_string(kind) + ", " + std::to_string(action));
    return -1;
  }
  Say(show ? "shown, kind " + std::to_string(kind) + ": Please enter your PIN on the card reader." : "hidden");
  return 0;
}
