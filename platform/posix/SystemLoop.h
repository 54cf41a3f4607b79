#pragma once

namespace halvarin::platform {

/// Has the main loop that the system itself brings call the function soon, on the main thread, with
/// null. Off macOS there is none, and nothing is called.
void callFromSystemLoop(void (*function)(void*));

}  // namespace halvarin::platform
