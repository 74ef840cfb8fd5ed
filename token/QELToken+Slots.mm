#import "token/QELToken.h"

#import "pkcs11/Format.h"
#include "pkcs11/QELTokenException.h"
#include "pkcs11/Slots.h"
#import "token/PaddedText.h"

namespace {

/// A literal search: no folding, no equivalence of composed and decomposed letters. An empty name is in no description.
bool Contains(NSString *description, NSString *name) {
  return [description length] > 0 && [name length] > 0 &&
         [description rangeOfString:name options:NSLiteralSearch].location != NSNotFound;
}

}  // namespace

@implementation QELToken (Slots)

- (NSMutableArray<NSNumber *> *)slotsCorrespondingToSmartCard:(TKSmartCard *)smartCard {
  NSString *readerName = [[smartCard slot] name];
  Utils::log(QELLog::Info(), @"CTK slot name: %@", readerName);

  NSMutableArray<NSNumber *> *matches = [NSMutableArray array];
  for (const CK_SLOT_ID slot : PKCS11::SlotList()) {
    const PKCS11::SlotDescription field = PKCS11::DescriptionOfSlot(slot);
    NSString *description = TextOfPaddedField(field.data(), field.size(), NSUTF8StringEncoding);
    Utils::log(QELLog::Info(), @"slotName %@", description);
    if (Contains(description, readerName)) [matches addObject:[NSNumber numberWithUnsignedLong:slot]];
  }
  if ([matches count] == 0) {
    Utils::log(QELLog::Info(), @"Requested name was %@", readerName);
    throw QELTokenException(QELTokenError::ReaderLookup, "Requested smart card reader not found");
  }
  return matches;
}

@end
