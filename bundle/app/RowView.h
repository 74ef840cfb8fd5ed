#pragma once

#import <AppKit/AppKit.h>

#import "bundle/app/StatusRows.h"

/// One row of the window: its texts below each other, wrapped to the view's width. To a screen reader it is one
/// element, which says the whole row.
@interface QELRowView : NSView {
  QELStatusRow *m_row;
  NSMutableArray *m_fields;
}

/// Has no size yet; see below.
- (instancetype)initWithRow:(QELStatusRow *)row;

/// Lays the texts out for this width. Returns the height that they take.
- (CGFloat)layOutForWidth:(CGFloat)width;

@end
