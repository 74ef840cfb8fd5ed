#pragma once

#import <AppKit/AppKit.h>
#import <CryptoTokenKit/CryptoTokenKit.h>

@class QELRowsView;

/// The app's one window. It follows readers and tokens as they come and go. Main thread.
@interface QELStatusWindow : NSObject {
  NSWindow *m_window;
  QELRowsView *m_rows;
  TKTokenWatcher *m_watcher;
  TKSmartCardSlotManager *m_manager;
  NSMutableDictionary *m_slots;
}

/// Opens nothing yet.
- (instancetype)init;

@property(readonly, nonatomic) NSWindow *window;

/// Brings the window to the front with what the system knows now.
- (void)show;

/// Asks the user where, and saves the support report there for its owner only.
- (void)saveSupportReport:(id)sender;

/// Writes the support report to the file `path`, for its owner only. Returns whether that worked.
- (BOOL)writeSupportReportTo:(NSString *)path;

/// Asks the system again.
- (void)refresh:(id)sender;

@end
