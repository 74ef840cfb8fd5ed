#include "host/keys/ItemNames.h"

#include <gtest/gtest.h>

namespace {

TEST(CardLabel, IsWhatStandsBeforeTheBracketsAtTheEnd) {
  const struct {
    const char* label;
    const char* cards;
  } kRows[] = {
      {"Mine (Anna Example)", "Mine"},
      {"Mine (old) (Anna Example)", "Mine (old)"},
      {"Mine (Anna (Test) Example)", "Mine"},
      {" (Anna)", ""},
      {"Mine", "Mine"},
      {"Mine(Anna)", "Mine(Anna)"},
      {"Mine Anna)", "Mine Anna)"},
      {"(Anna)", "(Anna)"},
      {")", ")"},
      {"", ""},
  };
  for (const auto& row : kRows) EXPECT_EQ(Host::CardLabelIn(row.label), row.cards) << row.label;
}

}  // namespace
