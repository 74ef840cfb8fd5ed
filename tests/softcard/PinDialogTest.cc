#include <dlfcn.h>

#include <fstream>
#include <iterator>

#include "tests/softcard/SoftCardFixture.h"

namespace {

using SoftCardPinDialog = SoftCardFixture;

TEST_F(SoftCardPinDialog, RecordsWhatAUserWouldSee) {
  void* const library = dlopen(SOFTCARD_PIN_DIALOG, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library, nullptr) << dlerror();
  const auto dialog = reinterpret_cast<int (*)(int, int, int)>(dlsym(library, "PINPadDialogP"));
  ASSERT_NE(dialog, nullptr);
  EXPECT_EQ(dialog(1, 8, 1), 0);
  EXPECT_EQ(dialog(1, 1, 2), 0);
  EXPECT_EQ(dialog(1, 32, 1), 0);
  EXPECT_EQ(dialog(2, 8, 1), -1);
  EXPECT_EQ(dialog(1, 8, 3), -1);
  dlclose(library);
  std::ifstream in(m_directory / "pin-dialog.log");
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}),
            "shown, kind 8: Please enter your PIN on the card reader.\nhidden\n"
            "shown, kind 32: Please enter your PIN on the card reader.\n"
            "not understood: 2, 8, 1\nnot understood: 1, 8, 3\n");
}

}  // namespace
