#import <AppKit/AppKit.h>

/// A protocol exists in GCC's runtime when a class adopts it. There are no objects of this one.
@interface QELAppAdoptedProtocols : NSObject <NSApplicationDelegate>
@end

@implementation QELAppAdoptedProtocols
@end
