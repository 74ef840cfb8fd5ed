#import "tests/macprobe/Words.h"

namespace probe {

std::string Words(id object) {
  return object == nil ? "nil" : [[object description] UTF8String];
}

std::string YesOrNo(bool answer) {
  return answer ? "yes" : "no";
}

std::string RaisedBy(void (*action)()) {
  @try {
    action();
  } @catch (NSException *exception) {
    return Words([exception name]);
  }
  return "none";
}

std::string Hex(NSData *bytes) {
  std::string text;
  for (NSUInteger i = 0; i < [bytes length]; ++i) {
    text += [[NSString stringWithFormat:@"%02x", static_cast<const unsigned char *>([bytes bytes])[i]] UTF8String];
  }
  return text;
}

}  // namespace probe
