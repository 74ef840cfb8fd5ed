#import "bundle/app/RowsView.h"

#import "bundle/app/RowView.h"

static const CGFloat kMargin = 20;
static const CGFloat kSpaceAboveHeading = 8;

@implementation QELRowsView

- (instancetype)initWithFrame:(NSRect)frame {
  self = [super initWithFrame:frame];
  if (self) {
    m_rowViews = [[NSMutableArray alloc] init];
  }
  return self;
}

- (void)dealloc {
  [m_rowViews release];
  [super dealloc];
}

/// With the focus here, the scroll view around gets the arrow and page keys.
- (BOOL)acceptsFirstResponder {
  return YES;
}

- (BOOL)isFlipped {
  return YES;
}

- (void)layOutRows {
  const CGFloat width = NSWidth([self frame]) - 2 * kMargin;
  CGFloat y = kMargin;
  for (NSView *view in m_rowViews) {
    if ([view isKindOfClass:[NSBox class]]) {
      [view setFrame:NSMakeRect(kMargin, y, width, 1)];
      y += 1 + kSpaceAboveHeading;
      continue;
    }
    const CGFloat height = [(QELRowView *)view layOutForWidth:width];
    [view setFrame:NSMakeRect(kMargin, y, width, height)];
    y += height;
  }
  const CGFloat shown = NSHeight([[self superview] bounds]);
  [self setFrameSize:NSMakeSize(NSWidth([self frame]), y + kMargin > shown ? y + kMargin : shown)];
}

- (void)showRows:(NSArray *)rows {
  for (NSView *view in m_rowViews) {
    [view removeFromSuperview];
  }
  [m_rowViews removeAllObjects];
  for (QELStatusRow *row in rows) {
    if ([row isHeading] && [m_rowViews count] > 0) {
      NSBox *line = [[[NSBox alloc] initWithFrame:NSMakeRect(0, 0, 100, 1)] autorelease];
      [line setBoxType:NSBoxSeparator];
      [m_rowViews addObject:line];
    }
    [m_rowViews addObject:[[[QELRowView alloc] initWithRow:row] autorelease]];
  }
  for (NSView *view in m_rowViews) {
    [self addSubview:view];
  }
  [self layOutRows];
  [self setNeedsDisplay:YES];
}

- (void)resizeWithOldSuperviewSize:(NSSize)oldSize {
  (void)oldSize;
  [self setFrameSize:NSMakeSize(NSWidth([[self superview] bounds]), NSHeight([self frame]))];
  [self layOutRows];
}

@end
