#import "token/CardCall.h"

#import "tests/token/SessionTest.h"

class TokenKitErrors : public TokenTest {};

TEST_F(TokenKitErrors, ThreeResultsHaveAnErrorAndNoOtherHas) {
  for (const CardResult &result : kCardResults) {
    NSError *error = UntouchedError();
    StoreTokenKitError(result.rv, &error);
    EXPECT_TRUE(IsErrorOf(result.code, error)) << result.digits;
    StoreTokenKitError(result.rv, nullptr);
  }
}

TEST_F(TokenKitErrors, SuccessStoresNothing) {
  NSError *error = UntouchedError();
  EXPECT_TRUE(CardCallSucceeded("C_Sign", CKR_OK, &error));
  EXPECT_EQ(error, UntouchedError());
  EXPECT_EQ(m_log.Lines().size(), 0u);
}

TEST_F(TokenKitErrors, AuthenticationNeededIsMinusNineWithoutUserInformation) {
  NSError *error = nil;
  StoreAuthenticationNeeded(&error);
  EXPECT_TRUE(IsErrorOf(-9, error));
  StoreAuthenticationNeeded(nullptr);
}
