#import <AppKit/AppKit.h>

#include <string>

#include "base/NotificationCenter.h"
#include "platform/MainThread.h"
#include "platform/SystemLog.h"
#include "platform/macos/FoundationText.h"
#include "platform/posix/HostBundle.h"

namespace halvarin::platform {

namespace {

/// On the main thread.
void showSheet(const Alert& alert) {
  @autoreleasepool {
    NSWindow* const window = NSApp.mainWindow;
    if (window == nil) {
      systemLog(alertLine(alert));
      return;
    }
    NSAlert* const sheet = [[NSAlert alloc] init];
    sheet.messageText = foundationText(alert.messageText);
    sheet.informativeText = foundationText(alert.informativeText);
    [sheet addButtonWithTitle:foundationText(alert.defaultButton)];
    [sheet beginSheetModalForWindow:window completionHandler:nil];
  }
}

}  // namespace

void showAlertOfApplication(const Alert& alert) {
  if (NSApp == nil) {  // a program without an application, whose main queue nobody may run
    systemLog(alertLine(alert));
    return;
  }
  MainThread::perform([alert] { showSheet(alert); });
}

void forwardApplicationEnd() {
  @autoreleasepool {
    // The observer is kept for the life of the process: the end comes once, and last.
    static const id observer = [NSNotificationCenter.defaultCenter
        addObserverForName:NSApplicationWillTerminateNotification
                    object:nil
                     queue:nil
                usingBlock:^(NSNotification*) {
                  NotificationCenter::defaultCenter().post(
                      {std::string(kApplicationWillTerminate), nullptr, nullptr});
                }];
    static_cast<void>(observer);
  }
}

}  // namespace halvarin::platform
