// Ctrl-C and the end of the process.
#pragma once

#include <string>

namespace zarn {

/// From here on Ctrl-C ends the process at once, with a message and status 130; a file in the making is removed first.
/// Where the command was started with Ctrl-C ignored, it stays ignored.
void install_interrupts();

/// While one is alive, the first Ctrl-C is only noted.
class DeferInterrupts {
public:
    DeferInterrupts();
    DeferInterrupts(const DeferInterrupts&) = delete;
    DeferInterrupts& operator=(const DeferInterrupts&) = delete;
    ~DeferInterrupts();
};

/// Whether a Ctrl-C has been noted.
bool interrupted() noexcept;

/// The file that an abrupt end removes, "" for none.
void set_file_in_the_making(const std::string& path);
/// Removes it, from a signal handler too.
void remove_file_in_the_making() noexcept;

}  // namespace zarn
