#pragma once

#import <AppKit/AppKit.h>

/// The rows below each other, for a scroll view. Follows the width of the view that it scrolls in.
@interface QELRowsView : NSView {
  NSMutableArray *m_rowViews;
}

/// Replaces what is shown. `rows` are of QELStatusRow.
- (void)showRows:(NSArray *)rows;

@end
