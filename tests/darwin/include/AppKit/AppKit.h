#pragma once

/* The classes of the system's AppKit that this project names, and no more. */

#import <Foundation/Foundation.h>

typedef NSInteger NSModalResponse;

@interface NSResponder : NSObject
@end

@interface NSView : NSResponder
@end

@interface NSControl : NSView
@end

@interface NSButton : NSControl
@end

@interface NSWindow : NSResponder
@end

@interface NSApplication : NSResponder
@property(readonly, weak) NSWindow* mainWindow;
@end

@interface NSAlert : NSObject
@property(copy) NSString* messageText;
@property(copy) NSString* informativeText;
- (NSButton*)addButtonWithTitle:(NSString*)title;
- (void)beginSheetModalForWindow:(NSWindow*)sheetWindow
               completionHandler:(void (^)(NSModalResponse returnCode))handler;
@end

extern "C" __kindof NSApplication* NSApp;
extern "C" NSNotificationName NSApplicationWillTerminateNotification;
