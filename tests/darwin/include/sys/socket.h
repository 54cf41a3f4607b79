#pragma once

/* This computer's sockets, with the one option that macOS has and Linux has not. */

#pragma GCC system_header
#include_next <sys/socket.h>

#define SO_NOSIGPIPE 0x1022
