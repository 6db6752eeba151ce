// Ctrl-C and the end of the process.
#pragma once

#include <string>

namespace zarn {

/// From here on Ctrl-C ends the process at once, with a message and status 130; files in the making are removed first.
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

/// A file that an abrupt end removes, until it is dropped.
void add_file_in_the_making(const std::string& path);
void drop_file_in_the_making(const std::string& path);
/// Removes all of them, from a signal handler too.
void remove_files_in_the_making() noexcept;

}  // namespace zarn
