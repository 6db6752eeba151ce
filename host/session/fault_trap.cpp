#include "host/session/fault_trap.h"

#include <csignal>
#include <mutex>

namespace zarn {
namespace {

thread_local FaultTrap* target = nullptr;
struct sigaction others {};  // what was installed before

}  // namespace

FaultTrap::FaultTrap() noexcept : before_(target) { target = this; }
FaultTrap::~FaultTrap() { target = before_; }

void FaultTrap::install() {
    static std::once_flag once;
    std::call_once(once, [] {
        struct sigaction action {};
        action.sa_handler = &FaultTrap::on_fault;
        sigemptyset(&action.sa_mask);
        action.sa_flags = SA_NODEFER;  // the way out of the handler is a jump
        sigaction(SIGFPE, &action, &others);
    });
}

void FaultTrap::on_fault(int) {
    if (target != nullptr) siglongjmp(target->here_, 1);
    sigaction(SIGFPE, &others, nullptr);  // and the instruction faults again
}

}  // namespace zarn
