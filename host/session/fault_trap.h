// The processor's divide fault as an answer, for hosts whose process is not theirs to end.
#pragma once

#include <csetjmp>

namespace zarn {

/// Where the fault of a thread leads. The handler is installed once, for the process, and passes on the faults of
/// others.
class FaultTrap {
public:
    /// Does work that holds no lock and steps objects on this thread; false where a step ended in a divide fault. What
    /// the work had on its stack is lost then, memory included: the objects are not to be stepped again.
    template <class Work>
    static bool survives(const Work& work) {
        install();
        FaultTrap trap;
        if (sigsetjmp(trap.here_, 0) != 0) return false;
        work();
        return true;
    }

private:
    FaultTrap() noexcept;
    FaultTrap(const FaultTrap&) = delete;
    FaultTrap& operator=(const FaultTrap&) = delete;
    ~FaultTrap();
    static void install();
    static void on_fault(int signal);

    sigjmp_buf here_;
    FaultTrap* before_;
};

}  // namespace zarn
