#import "bundle/app/StatusWindow.h"

#import "bundle/app/RowsView.h"
#import "bundle/app/StatusRows.h"
#import "bundle/app/SupportReport.h"

static const NSInteger kSaved = 1;  // the panel's answer, whose name changed

static const CGFloat kWidth = 520;
static const CGFloat kHeight = 420;
static const CGFloat kBarHeight = 52;
static const CGFloat kMargin = 20;
static const CGFloat kGap = 10;

@implementation QELStatusWindow

@synthesize window = m_window;

- (NSButton *)buttonTitled:(NSString *)title action:(SEL)action rightOf:(CGFloat)right {
  NSButton *button = [[[NSButton alloc] initWithFrame:NSMakeRect(0, 0, 0, 0)] autorelease];
  [button setTitle:title];
  [button setBezelStyle:(NSBezelStyle)1];  // the rounded one, whose name changed
  [button setTarget:self];
  [button setAction:action];
  [button sizeToFit];
  const NSSize size = [button frame].size;
  [button setFrame:NSMakeRect(right - size.width, (kBarHeight - size.height) / 2, size.width, size.height)];
  [button setAutoresizingMask:NSViewMinXMargin | NSViewMaxYMargin];
  [[m_window contentView] addSubview:button];
  return button;
}

- (void)makeWindow {
  const NSUInteger style = NSWindowStyleMaskTitled | NSWindowStyleMaskClosable | NSWindowStyleMaskMiniaturizable |
                           NSWindowStyleMaskResizable;
  m_window = [[NSWindow alloc] initWithContentRect:NSMakeRect(0, 0, kWidth, kHeight)
                                         styleMask:style
                                           backing:NSBackingStoreBuffered
                                             defer:NO];
  [m_window setTitle:@"QELToken"];
  [m_window setReleasedWhenClosed:NO];
  [m_window setMinSize:NSMakeSize(360, 240)];
  NSRect area = NSMakeRect(0, kBarHeight, kWidth, kHeight - kBarHeight);
  NSScrollView *scroll = [[[NSScrollView alloc] initWithFrame:area] autorelease];
  [scroll setHasVerticalScroller:YES];
  [scroll setAutohidesScrollers:YES];
  [scroll setDrawsBackground:NO];
  [scroll setAutoresizingMask:NSViewWidthSizable | NSViewHeightSizable];
  m_rows = [[QELRowsView alloc] initWithFrame:NSMakeRect(0, 0, [scroll contentSize].width, 100)];
  [m_rows setAutoresizingMask:NSViewWidthSizable];
  [scroll setDocumentView:m_rows];
  [[m_window contentView] addSubview:scroll];
  NSButton *refresh = [self buttonTitled:NSLocalizedString(@"Check Again", @"a button")
                                  action:@selector(refresh:)
                                 rightOf:kWidth - kMargin];
  NSButton *save = [self buttonTitled:NSLocalizedString(@"Save Support Report...", @"a button")
                               action:@selector(saveSupportReport:)
                              rightOf:NSMinX([refresh frame]) - kGap];
  [m_window setInitialFirstResponder:m_rows];
  [m_rows setNextKeyView:save];
  [save setNextKeyView:refresh];
  [refresh setNextKeyView:m_rows];
  [m_window center];
}

- (instancetype)init {
  self = [super init];
  if (self) {
    m_watcher = [[TKTokenWatcher alloc] init];
    m_manager = [[TKSmartCardSlotManager defaultManager] retain];
    m_slots = [[NSMutableDictionary alloc] init];
    [self makeWindow];
    [m_watcher addObserver:self forKeyPath:@"tokenIDs" options:0 context:NULL];
    [m_manager addObserver:self forKeyPath:@"slotNames" options:0 context:NULL];
  }
  return self;
}

- (void)dealloc {
  [NSObject cancelPreviousPerformRequestsWithTarget:self];
  [m_watcher removeObserver:self forKeyPath:@"tokenIDs"];
  [m_manager removeObserver:self forKeyPath:@"slotNames"];
  for (TKSmartCardSlot *slot in [m_slots allValues]) {
    [slot removeObserver:self forKeyPath:@"state"];
  }
  [m_window close];
  [m_window release];
  [m_rows release];
  [m_watcher release];
  [m_manager release];
  [m_slots release];
  [super dealloc];
}

/// A card that no driver takes changes its reader's state only.
- (void)followSlots {
  NSArray *names = [m_manager slotNames];
  for (NSString *name in [m_slots allKeys]) {
    if (![names containsObject:name]) {
      [[m_slots objectForKey:name] removeObserver:self forKeyPath:@"state"];
      [m_slots removeObjectForKey:name];
    }
  }
  for (NSString *name in names) {
    TKSmartCardSlot *slot = [m_slots objectForKey:name] == nil ? [m_manager slotNamed:name] : nil;
    if (slot != nil) {
      [m_slots setObject:slot forKey:name];
      [slot addObserver:self forKeyPath:@"state" options:0 context:NULL];
    }
  }
}

/// On any thread.
- (void)observeValueForKeyPath:(NSString *)key
                      ofObject:(id)object
                        change:(NSDictionary *)change
                       context:(void *)context {
  (void)key, (void)object, (void)change, (void)context;
  [self performSelectorOnMainThread:@selector(refresh:) withObject:nil waitUntilDone:NO];
}

- (void)refresh:(id)sender {
  (void)sender;
  [self followSlots];
  [m_rows showRows:[QELStatusRow rowsOfStatus:[self statusNow] at:[NSDate date]]];
}

- (QELStatus *)statusNow {
  return [[[QELStatus alloc] initWithWatcher:m_watcher manager:m_manager] autorelease];
}

- (BOOL)writeSupportReportTo:(NSString *)path {
  NSData *bytes = [QELSupportText([self statusNow], [NSDate date]) dataUsingEncoding:NSUTF8StringEncoding];
  NSDictionary *attributes = @{NSFilePosixPermissions : [NSNumber numberWithShort:0600]};
  return [[NSFileManager defaultManager] createFileAtPath:path contents:bytes attributes:attributes];
}

- (void)saveSupportReport:(id)sender {
  (void)sender;
  NSSavePanel *panel = [NSSavePanel savePanel];
  NSString *day = [QELTimeText([NSDate date]) substringToIndex:10];
  [panel setNameFieldStringValue:[NSString stringWithFormat:@"QELToken support %@.txt", day]];
  if ([panel runModal] != kSaved) {
    return;
  }
  NSString *path = [[panel URL] path];
  if (path != nil && [self writeSupportReportTo:path]) {
    return;
  }
  NSAlert *alert = [[[NSAlert alloc] init] autorelease];
  [alert setMessageText:NSLocalizedString(@"The support report could not be saved.", @"")];
  [alert setInformativeText:NSLocalizedString(@"Choose another folder.", @"")];
  [alert runModal];
}

- (void)show {
  [self refresh:nil];
  [m_window makeKeyAndOrderFront:nil];
}

@end
