#include "platform/src/Foundation/ExtensionBundle.h"

#import <Foundation/Foundation.h>

#import "platform/src/Foundation/Owned.h"

namespace {

id Entry(id dictionary, NSString *key) {
  return [dictionary isKindOfClass:[NSDictionary class]] ? [dictionary objectForKey:key] : nil;
}

std::string RequiredText(NSDictionary *attributes, NSString *key, NSString *path) {
  id value = Entry(attributes, key);
  if (![value isKindOfClass:[NSString class]] || [value length] == 0) {
    throw ExtensionBundleError(std::string([path UTF8String]) + ": no text NSExtension / NSExtensionAttributes / " +
                               [key UTF8String]);
  }
  return [value UTF8String];
}

}  // namespace

ExtensionBundle ExtensionBundle::OfThisProgram() {
  const ScopedPool pool;
  NSString *folder = [[[NSBundle mainBundle] executablePath] stringByDeletingLastPathComponent];
  NSString *path = [[folder stringByDeletingLastPathComponent] stringByAppendingPathComponent:@"Info.plist"];
  NSDictionary *info = [NSDictionary dictionaryWithContentsOfFile:path];
  if (!info) {
    throw ExtensionBundleError(std::string([path UTF8String]) + ": no readable property list");
  }
  NSDictionary *attributes = Entry(Entry(info, @"NSExtension"), @"NSExtensionAttributes");
  return {RequiredText(attributes, @"com.apple.ctk.driver-class", path),
          RequiredText(attributes, @"com.apple.ctk.class-id", path)};
}
