/// The smart-card service as an application sees it. `ctkhost watch` plays it: this reads what that program tells.

#pragma once

#import <CryptoTokenKit/CryptoTokenKit.h>

NS_ASSUME_NONNULL_BEGIN

/// A token and what it published.
@interface QELServiceToken : NSObject {
  NSString *m_tokenID;
  NSString *m_reader;
  NSString *m_driver;
  NSArray *m_items;
}

@property(readonly) NSString *tokenID;
@property(readonly) NSString *reader;
@property(readonly, nullable) NSString *driver;
@property(readonly) NSArray<NSDictionary *> *items;  ///< as `ctkhost --json list` describes them

@end

/// Use it on the main thread.
@interface QELSmartCardService : NSObject {
  NSTask *m_watch;
  NSFileHandle *m_events;
  NSMutableData *m_unread;
  NSMutableArray *m_readers;
  NSMutableDictionary *m_states;
  NSMutableArray *m_tokens;
  NSDictionary *m_extension;
}

/// The service of the ctkhost that the environment variable QEL_CTKHOST names, started when it is first asked for and
/// ended with the process; nil without the variable. Returns when every reader that is there has told its state.
+ (nullable QELSmartCardService *)sharedService;

/// Ends it; the next question for it starts another.
+ (void)end;

/// From now on `follower` gets -serviceDidChange on the main thread after readers or tokens have changed, with the
/// services started later as well, until it leaves the default notification center. It is not retained.
+ (void)tellOfChanges:(id)follower;

@property(readonly) NSArray<NSString *> *readers;
@property(readonly) NSArray<QELServiceToken *> *tokens;

/// Missing for a reader that is not there.
- (TKSmartCardSlotState)stateOfReader:(NSString *)reader;
- (nullable QELServiceToken *)tokenWithID:(NSString *)tokenID;

@end

NS_ASSUME_NONNULL_END
