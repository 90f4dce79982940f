#pragma once

namespace lumocam {

// Turns Ctrl-C into a flag that grab loops poll, so that acquisition stops
// through the library (buffers revoked, device closed) instead of the process
// dying with the device open. A second Ctrl-C ends the process at once.
class InterruptScope {
public:
    InterruptScope();
    ~InterruptScope();
    InterruptScope(const InterruptScope&) = delete;
    InterruptScope& operator=(const InterruptScope&) = delete;
};

bool Interrupted();

}  // namespace lumocam
