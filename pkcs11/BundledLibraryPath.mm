#include "pkcs11/BundledLibraryPath.h"

#import <Foundation/Foundation.h>

std::string BundledLibraryPath() {
  NSString *folder = [[[NSBundle mainBundle] executablePath] stringByDeletingLastPathComponent];
  NSString *path = [folder stringByAppendingPathComponent:@"/../Frameworks/libQELTarnwellPkcs11.dylib"];
  return [path fileSystemRepresentation];
}
