#pragma once

namespace lumocam {

// Turns Ctrl-C and SIGTERM into a flag that grab loops poll, so that
// acquisition stops through the library (buffers revoked, device closed)
// instead of the process dying with the device open. A second signal of the
// same kind ends the process at once.
class InterruptScope {
public:
    InterruptScope();
    ~InterruptScope();
    InterruptScope(const InterruptScope&) = delete;
    InterruptScope& operator=(const InterruptScope&) = delete;
};

bool Interrupted();
// The signal that set the flag (SIGINT or SIGTERM), 0 while none came.
int InterruptSignal();

}  // namespace lumocam
