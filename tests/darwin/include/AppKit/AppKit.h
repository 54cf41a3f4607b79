#pragma once

/* The classes of the system's AppKit that this project names, and no more. */

#import <Foundation/Foundation.h>

typedef NSInteger NSModalResponse;

@interface NSWindow : NSObject
@end

@interface NSButton : NSObject
@end

@interface NSApplication : NSObject
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
