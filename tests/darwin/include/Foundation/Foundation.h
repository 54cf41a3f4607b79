#pragma once

/* The classes of the system's Foundation that this project names, and no more. */

typedef unsigned long NSUInteger;
typedef signed long NSInteger;
typedef NSUInteger NSStringEncoding;
enum : NSStringEncoding { NSUTF8StringEncoding = 4, NSISOLatin1StringEncoding = 5 };

@protocol NSObject
@end

__attribute__((objc_root_class))
@interface NSObject<NSObject>
+ (instancetype)alloc;
- (instancetype)init;
@end

@interface NSString : NSObject
- (instancetype)initWithBytes:(const void*)bytes
                       length:(NSUInteger)len
                     encoding:(NSStringEncoding)encoding;
@end

typedef NSString* NSNotificationName;

@interface NSNotification : NSObject
@end

@class NSOperationQueue;

@interface NSNotificationCenter : NSObject
@property(class, readonly, strong) NSNotificationCenter* defaultCenter;
- (id<NSObject>)addObserverForName:(NSNotificationName)name
                            object:(id)obj
                             queue:(NSOperationQueue*)queue
                        usingBlock:(void (^)(NSNotification* notification))block;
@end

extern "C" void NSLog(NSString* format, ...) __attribute__((format(__NSString__, 1, 2)));

#ifndef nil
#define nil nullptr
#endif
