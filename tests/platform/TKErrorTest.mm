#import <CryptoTokenKit/TKError.h>
#include <gtest/gtest.h>

TEST(TKError, DomainAndCodesAreTheSystems) {
  EXPECT_STREQ([TKErrorDomain UTF8String], "CryptoTokenKit");
  EXPECT_EQ(TKErrorCodeNotImplemented, -1);
  EXPECT_EQ(TKErrorCodeCommunicationError, -2);
  EXPECT_EQ(TKErrorCodeCorruptedData, -3);
  EXPECT_EQ(TKErrorCodeCanceledByUser, -4);
  EXPECT_EQ(TKErrorCodeAuthenticationFailed, -5);
  EXPECT_EQ(TKErrorCodeObjectNotFound, -6);
  EXPECT_EQ(TKErrorCodeTokenNotFound, -7);
  EXPECT_EQ(TKErrorCodeBadParameter, -8);
  EXPECT_EQ(TKErrorCodeAuthenticationNeeded, -9);
}
