/* Two objects of Dispatch that are known by their addresses alone. */

extern char _dispatch_main_q[1];
extern char _dispatch_queue_attr_concurrent[1];

__attribute__((visibility("default"))) char _dispatch_main_q[1];
__attribute__((visibility("default"))) char _dispatch_queue_attr_concurrent[1];
