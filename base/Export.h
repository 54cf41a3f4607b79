#pragma once

/// Marks what the shared library offers to hosts; everything else is compiled hidden.
#define HALVARIN_EXPORT __attribute__((visibility("default")))
