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

std::vector<CK_BYTE> CardIDOfObjectID(NSData *identifier) {
  if ([identifier length] == 0) return {};
  const auto *bytes = static_cast<const CK_BYTE *>([identifier bytes]);
  return {bytes + 1, bytes + [identifier length]};
}
