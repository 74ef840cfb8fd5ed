/// The object behind an os_log_t.

#pragma once

#import <Foundation/Foundation.h>

@interface OS_os_log : NSObject {
  NSString *m_subsystem;
  NSString *m_category;
}

/// Copies the names, which may be nil.
- (instancetype)initWithSubsystem:(NSString *)subsystem category:(NSString *)category;

@property(readonly, nonatomic) NSString *subsystem;
@property(readonly, nonatomic) NSString *category;

@end
