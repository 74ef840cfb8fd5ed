/// The tokens of the machine, as an application sees them.

#ifndef QEL_PLATFORM_CRYPTOTOKENKIT_TKTOKENWATCHER_H_
#define QEL_PLATFORM_CRYPTOTOKENKIT_TKTOKENWATCHER_H_

#import <CryptoTokenKit/TKBase.h>

NS_ASSUME_NONNULL_BEGIN

/// What is known of a token.
@interface TKTokenWatcherTokenInfo : NSObject {
  NSString *m_tokenID;
  NSString *m_slotName;
  NSString *m_driverName;
}

@property(readonly, nonatomic) NSString *tokenID;
@property(readonly, nonatomic, nullable) NSString *slotName;
@property(readonly, nonatomic, nullable) NSString *driverName;

@end

/// Tells of tokens. The watcher of a process that was not told of a smart-card service knows none.
@interface TKTokenWatcher : NSObject {
  NSArray *m_tokenIDs;
}

/// "<extension's class identifier>:<instance identifier>" of each token. Observable; changes on the main thread, while
/// its run loop runs.
@property(readonly) NSArray<NSString *> *tokenIDs;

/// Returns nil when there is no such token.
- (nullable TKTokenWatcherTokenInfo *)tokenInfoForTokenID:(NSString *)tokenID;

@end

NS_ASSUME_NONNULL_END

#endif  // QEL_PLATFORM_CRYPTOTOKENKIT_TKTOKENWATCHER_H_
