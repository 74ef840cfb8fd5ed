#include "token/PINPadDialog.h"

#include <gtest/gtest.h>

#include <type_traits>

TEST(DialogKind, TwoSlotTypesHaveADialogOfTheirOwn) {
  EXPECT_EQ(DialogKindOfSlotType(0x80000002), 8);
  EXPECT_EQ(DialogKindOfSlotType(0x80000003), 32);
}

TEST(DialogKind, EveryOtherSlotTypeHasThePlainDialog) {
  for (const CK_ULONG slotType :
       {0x0UL, 0x1UL, 0x2UL, 0x80000000UL, 0x80000001UL, 0x80000004UL, 0x180000002UL, ~CK_ULONG{0}}) {
    EXPECT_EQ(DialogKindOfSlotType(slotType), 1) << slotType;
  }
}

TEST(PINPadDialogHider, IsNotCopied) {
  EXPECT_FALSE(std::is_copy_constructible_v<PINPadDialogHider>);
  EXPECT_FALSE(std::is_copy_assignable_v<PINPadDialogHider>);
}
