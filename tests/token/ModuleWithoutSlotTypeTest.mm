#import "tests/token/SessionTest.h"
#import "token/PerformLogin.h"

/// The maker's library without its vendor function, in force before the token loads it.
class LibraryWithoutSlotType {
 private:
  LoaderRedirect m_redirect{"libQELTarnwellPkcs11", CARD_MODULE_WITHOUT_SLOT_TYPE};
};

class ModuleWithoutSlotType : private LibraryWithoutSlotType, public PinPadTest {};

TEST_F(ModuleWithoutSlotType, APinPadLoginShowsThePlainDialog) {
  EXPECT_TRUE(performLogin(m_session, nil, nullptr));
  EXPECT_EQ(m_card.Count("C_GetSlotType"), 0);
  EXPECT_EQ(m_dialog.Calls(), (Texts{"show 1", "hide"}));
}

TEST_F(ModuleWithoutSlotType, APinPadSignatureShowsThePlainDialog) {
  EXPECT_NE(Sign(Block(), RawRsa()), nil);
  EXPECT_EQ(m_dialog.Calls(), (Texts{"show 1", "hide"}));
}
