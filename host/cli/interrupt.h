// Ctrl-C and the end of the process.
#pragma once

namespace zarn {

/// From here on Ctrl-C ends the process at once, with a message and status 130; files in the making are removed first.
/// Where the command was started with Ctrl-C ignored, it stays ignored.
void install_interrupts();

/// While one is alive, the first Ctrl-C is only noted; so are, with `ends_too`, the signals that end the process.
class DeferInterrupts {
public:
    explicit DeferInterrupts(bool ends_too = false);
    DeferInterrupts(const DeferInterrupts&) = delete;
    DeferInterrupts& operator=(const DeferInterrupts&) = delete;
    ~DeferInterrupts();
};

/// Whether a Ctrl-C, or an end, has been noted.
bool interrupted() noexcept;

/// Ends the process by the signal that has been noted, unless that is a Ctrl-C.
void end_as_noted();

}  // namespace zarn
