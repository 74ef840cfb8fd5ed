#include "pkcs11/QELTokenException.h"

#include <gtest/gtest.h>

#include <exception>
#include <string>
#include <type_traits>

TEST(QELTokenExceptionTest, MakesAnErrorOfItsCodeAndMessage) {
  NSError *error = QELTokenException(-6, "Cannot read object's attribute").ToError();
  EXPECT_STREQ([[error domain] UTF8String], "QELToken");
  EXPECT_EQ([error code], -6);
  EXPECT_STREQ([[error localizedDescription] UTF8String], "Cannot read object's attribute");
  EXPECT_EQ([[error userInfo] count], 1u);
}

TEST(QELTokenExceptionTest, TheMessageIsReadAsUtf8) {
  NSError *error = QELTokenException(-1, "Bibliothek f\xC3\xBCr \xE2\x82\xAC").ToError();
  EXPECT_TRUE([[error localizedDescription] isEqualToString:@"Bibliothek f\u00FCr \u20AC"]);
}

TEST(QELTokenExceptionTest, AMessageThatIsNotUtf8LeavesTheErrorWithItsCodeOnly) {
  NSError *error = QELTokenException(-6, "\xFF\xFE").ToError();
  EXPECT_EQ([error code], -6);
  EXPECT_EQ([[error userInfo] objectForKey:NSLocalizedDescriptionKey], nil);
}

TEST(QELTokenExceptionTest, TheWholeRangeOfCodesKeepsItsSign) {
  EXPECT_EQ([QELTokenException(INT32_MIN, "").ToError() code], NSInteger { INT32_MIN });
}

TEST(QELTokenExceptionTest, CopiesTheMessage) {
  std::string message = "first";
  const QELTokenException failure(-5, message.c_str());
  const QELTokenException copy = failure;
  message = "other";
  EXPECT_EQ(copy.message, "first");
  EXPECT_EQ(copy.code, -5);
}

TEST(QELTokenExceptionTest, IsNoStandardException) {
  EXPECT_FALSE((std::is_base_of_v<std::exception, QELTokenException>));
}
