#import "token/ObjectIdentifier.h"

NSMutableData *MakeObjectID(CK_BYTE prefix, const std::vector<CK_BYTE> &objectID) {
  NSMutableData *identifier = [NSMutableData dataWithCapacity:1 + objectID.size()];
  [identifier appendBytes:&prefix length:1];
  [identifier appendBytes:objectID.data() length:objectID.size()];
  return identifier;
}

CK_BYTE PrefixOfObjectID(NSData *identifier) {
  return [identifier length] == 0 ? 0 : *static_cast<const CK_BYTE *>([identifier bytes]);
}

CardID CardIDOfObjectID(NSData *identifier) {
  const NSUInteger length = [identifier length];
  if (length == 0) return {nullptr, 0};
  return {static_cast<const CK_BYTE *>([identifier bytes]) + 1, length - 1};
}
