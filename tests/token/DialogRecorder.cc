#include "tests/token/DialogRecorder.h"

#include <gtest/gtest.h>

#include "tests/support/card/Card.h"

namespace {

std::vector<std::string> s_calls;
bool s_visible = false;

void Record(const std::string& call) {
  s_calls.push_back(call);
  if (TestCard::Card* card = TestCard::CurrentCard()) card->Note("dialog " + call);
}

}  // namespace

extern "C" int QELTestDialog(int first, int second, int third);

extern "C" int QELTestDialog(int first, int second, int third) {
  if (first == 1 && third == 1) {
    Record("show " + std::to_string(second));
    s_visible = true;
  } else if (first == 1 && second == 1 && third == 2) {
    Record("hide");
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
