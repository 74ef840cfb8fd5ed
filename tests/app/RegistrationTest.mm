#import "bundle/app/Registration.h"

#include <gtest/gtest.h>

namespace {

TEST(Registration, IsReadFromWhatTheRegistryAnswers) {
  const struct {
    const char *answer;
    QELRegistration registration;
  } kRows[] = {
      {"", QELRegistrationMissing},
      {"+    com.qel.X.Extension(1.0)\n", QELRegistrationFound},
      {"     com.qel.X.Extension(1.0)\n", QELRegistrationFound},
      {"!    com.qel.X.Extension(1.0)\n", QELRegistrationFound},
      {"-    com.qel.X.Extension(1.0)\n", QELRegistrationOff},
      {"-    com.qel.X.Extension(1.0)\n+    com.qel.X.Extension(1.1)\n", QELRegistrationFound},
      {"+    com.qel.X.Extension.Other(1.0)\n", QELRegistrationMissing},
      {"match: Connection invalid\n", QELRegistrationMissing},
  };
  for (const auto &row : kRows) {
    EXPECT_EQ(QELRegistrationInAnswer([NSString stringWithUTF8String:row.answer], @"com.qel.X.Extension"),
              row.registration)
        << row.answer;
  }
}

TEST(Registration, OfAnExtensionThatIsNotThereIsMissing) {
  EXPECT_EQ(QELRegistrationOfExtension(@"com.example.none"), QELRegistrationMissing);
}

TEST(Registration, AProgramWithoutAnExtensionContainsNone) {
  EXPECT_TRUE(QELContainedExtensionIdentifier() == nil);
}

}  // namespace
