#pragma once

/* Put before every source that is compiled as for macOS: what this computer's C library has and
 * that system's has not may not be named. The headers come first, since they name it. */

#ifdef __cplusplus
#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sched.h>
#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <ostream>
#include <sstream>
#include <string>
#include <thread>
#include <unordered_map>
#include <variant>
#include <vector>

#undef SOCK_CLOEXEC
#undef SOCK_NONBLOCK
#undef MSG_NOSIGNAL
#undef MSG_MORE
#undef O_TMPFILE
#undef O_PATH
#pragma GCC poison accept4 pipe2 dup3 SOCK_CLOEXEC SOCK_NONBLOCK MSG_NOSIGNAL MSG_MORE
#pragma GCC poison eventfd signalfd timerfd_create epoll_create1 inotify_init1 memfd_create prctl
#pragma GCC poison gettid secure_getenv program_invocation_name program_invocation_short_name
#pragma GCC poison get_nprocs sched_getaffinity pthread_getaffinity_np clock_nanosleep ppoll
#pragma GCC poison sem_timedwait pthread_mutex_timedlock pthread_condattr_setclock O_TMPFILE O_PATH
#pragma GCC poison execvpe getrandom pthread_setname_np renameat2 posix_fallocate fallocate \
    sendfile64 mremap
#endif
