#pragma once

#include <stddef.h>
#include <stdint.h>

/* The calls of Grand Central Dispatch that this project makes, as C++ sees them: an object of
 * Dispatch is no object of C++, but its kinds are told apart. */

extern "C" {

typedef struct dispatch_object_s {
 private:
  dispatch_object_s();
  ~dispatch_object_s();
  dispatch_object_s(const dispatch_object_s&);
  void operator=(const dispatch_object_s&);
} * dispatch_object_t;

typedef struct dispatch_queue_s : public dispatch_object_s{} * dispatch_queue_t;
typedef struct dispatch_queue_serial_s : public dispatch_queue_s{} * dispatch_queue_serial_t;
typedef struct dispatch_queue_main_s : public dispatch_queue_serial_s{} * dispatch_queue_main_t;
typedef struct dispatch_queue_attr_s : public dispatch_object_s{} * dispatch_queue_attr_t;
typedef struct dispatch_group_s : public dispatch_object_s{} * dispatch_group_t;
typedef struct dispatch_semaphore_s : public dispatch_object_s{} * dispatch_semaphore_t;

typedef uint64_t dispatch_time_t;
typedef void (*dispatch_function_t)(void*);

#define DISPATCH_TIME_NOW (0ull)
#define DISPATCH_TIME_FOREVER (~0ull)

extern struct dispatch_queue_s _dispatch_main_q;
extern struct dispatch_queue_attr_s _dispatch_queue_attr_concurrent;
#define DISPATCH_QUEUE_SERIAL NULL
#define DISPATCH_QUEUE_CONCURRENT \
  (static_cast<dispatch_queue_attr_t>(&(_dispatch_queue_attr_concurrent)))

static inline dispatch_queue_main_t dispatch_get_main_queue(void) {
  return static_cast<dispatch_queue_main_t>(&_dispatch_main_q);
}

void dispatch_retain(dispatch_object_t object);
void dispatch_release(dispatch_object_t object);

dispatch_time_t dispatch_time(dispatch_time_t when, int64_t delta);

dispatch_queue_t dispatch_queue_create(const char* label, dispatch_queue_attr_t attr);
void dispatch_async_f(dispatch_queue_t queue, void* context, dispatch_function_t work);
void dispatch_sync_f(dispatch_queue_t queue, void* context, dispatch_function_t work);

dispatch_group_t dispatch_group_create(void);
void dispatch_group_enter(dispatch_group_t group);
void dispatch_group_leave(dispatch_group_t group);
intptr_t dispatch_group_wait(dispatch_group_t group, dispatch_time_t timeout);
void dispatch_group_async_f(dispatch_group_t group, dispatch_queue_t queue, void* context,
                            dispatch_function_t work);
void dispatch_group_notify_f(dispatch_group_t group, dispatch_queue_t queue, void* context,
                             dispatch_function_t work);

dispatch_semaphore_t dispatch_semaphore_create(intptr_t value);
intptr_t dispatch_semaphore_signal(dispatch_semaphore_t dsema);
intptr_t dispatch_semaphore_wait(dispatch_semaphore_t dsema, dispatch_time_t timeout);

}  // extern "C"
