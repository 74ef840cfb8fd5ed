#import "bundle/app/RowView.h"

#include <math.h>

static const CGFloat kIndent = 20;  // of rows below a heading
static const CGFloat kGap = 2;
static const CGFloat kSpaceBelow = 8;
static const CGFloat kPadding = 4;

/// What a wrapped text takes. Not every AppKit's cell thinks of the lines that it wraps; and it keeps a little room at
/// the sides for itself.
static CGFloat HeightOf(NSTextField *field, CGFloat width) {
  const CGFloat ofCell = [[field cell] cellSizeForBounds:NSMakeRect(0, 0, width, 10000)].height;
  const NSRect ofText = [[field attributedStringValue] boundingRectWithSize:NSMakeSize(width - 2 * kPadding, 10000)
                                                                    options:NSStringDrawingUsesLineFragmentOrigin];
  return ceil(fmax(ofCell, NSHeight(ofText)));
}

@implementation QELRowView

- (void)addText:(NSString *)text bold:(BOOL)bold colour:(NSColor *)colour {
  NSTextField *field = [[[NSTextField alloc] initWithFrame:NSMakeRect(0, 0, 0, 0)] autorelease];
  [field setStringValue:text];
  NSFont *font = [field font];
  if (bold && font != nil) {
    [field setFont:[[NSFontManager sharedFontManager] convertFont:font toHaveTrait:NSBoldFontMask]];
  }
  [field setTextColor:colour];
  [field setEditable:NO];
  [field setSelectable:YES];
  [field setBordered:NO];
  [field setBezeled:NO];
  [field setDrawsBackground:NO];
  [[field cell] setWraps:YES];
  [[field cell] setLineBreakMode:NSLineBreakByWordWrapping];
  [self addSubview:field];
  [m_fields addObject:field];
}

- (instancetype)initWithRow:(QELStatusRow *)row {
  self = [super initWithFrame:NSMakeRect(0, 0, 0, 0)];
  if (!self) {
    return nil;
  }
  m_row = [row retain];
  m_fields = [[NSMutableArray alloc] init];
  [self addText:[row title] bold:[row isHeading] colour:[NSColor controlTextColor]];
  if ([[row detail] length] > 0) {
    [self addText:[row detail] bold:NO colour:[NSColor secondaryLabelColor]];
  }
  if ([[row advice] length] > 0) {
    // Urgency is in the words; the weight only helps the eye.
    [self addText:[row advice] bold:[row urgency] != QELRowCalm colour:[NSColor controlTextColor]];
  }
  return self;
}

- (void)dealloc {
  [m_row release];
  [m_fields release];
  [super dealloc];
}

- (BOOL)isFlipped {
  return YES;
}

- (CGFloat)layOutForWidth:(CGFloat)width {
  const CGFloat indent = [m_row isHeading] ? 0 : kIndent;
  CGFloat y = 0;
  for (NSTextField *field in m_fields) {
    const CGFloat room = width - indent;
    const CGFloat height = HeightOf(field, room);
    [field setFrame:NSMakeRect(indent, y, room, height)];
    y += height + kGap;
  }
  return y + kSpaceBelow;
}

- (BOOL)isAccessibilityElement {
  return YES;
}

- (NSString *)accessibilityRole {
  return NSAccessibilityStaticTextRole;
}

/// A label with the same words would be said beside it.
- (id)accessibilityValue {
  return [m_row spokenText];
}

- (NSArray *)accessibilityChildren {
  return [NSArray array];
}

@end
