#include "tests/token/DialogRecorder.h"

#include <gtest/gtest.h>

namespace {

std::vector<std::string> s_calls;
bool s_visible = false;

}  // namespace

extern "C" int QELTestDialog(int first, int second, int third);

extern "C" int QELTestDialog(int first, int second, int third) {
  if (first == 1 && third == 1) {
    s_calls.push_back("show " + std::to_string(second));
    s_visible = true;
  } else if (first == 1 && second == 1 && third == 2) {
    s_calls.push_back("hide");
    s_visible = false;
  } else {
    ADD_FAILURE() << "PINPadDialogP(" << first << ", " << second << ", " << third << ")";
  }
  return 0;
}

DialogRecorder::DialogRecorder() {
  s_calls.clear();
  s_visible = false;
}

DialogRecorder::~DialogRecorder() {
  EXPECT_FALSE(s_visible) << "PIN pad dialog left visible";
}

std::vector<std::string> DialogRecorder::Calls() const {
  return s_calls;
}

bool DialogRecorder::IsVisible() const {
  return s_visible;
}
