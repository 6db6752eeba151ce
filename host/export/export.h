// A model as a program of its own: what `zarn export` writes.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "IExecModel.h"
#include "coder/exact/unit.h"
#include "coder/exact/write_c.h"

namespace zarn {

class Session;

struct export_options_t {
    std::string name;          ///< of the program, "" for the model file's
    std::string subsystem;     ///< the part that becomes the program, "" for the whole model
    std::string keep = "all";  ///< signals that can be read between steps: "all", "named" or "ports"
    bool inline_parameters = false;
    bool series_as_inputs = false;
    bool in_order_of_run = false;
};

/// The program of a prepared session's model.
class Export {
public:
    /// Raises `SessionError` where no program can be made of the model.
    Export(Session& session, const export_options_t& options);

    const tessel::exact::unit_t& unit() const { return unit_; }
    /// The runnable model, which `files` runs for some steps.
    tessel::IExecModel& exec() { return *exec_; }
    /// All files: the program, its test and its main program, for builders, calibrators and readers.
    std::vector<tessel::exact::text_file_t> files();

private:
    Session& session_;
    std::shared_ptr<tessel::IExecModel> exec_;
    tessel::exact::unit_t unit_;
};

/// The program of a prepared session's model, for who needs it without its files.
inline tessel::exact::unit_t program_of(Session& session, const export_options_t& options) {
    return Export(session, options).unit();
}

/// The picture of what a program is made of.
struct drawn_t {
    std::string svg;   ///< "" where there is none to draw
    std::string note;  ///< what of it is missing, and why; "" for nothing
};
drawn_t picture_of(Session& session, const std::string& part);

/// Puts all files into a folder, which is made where there is none, or none of them: until each is written, those of an
/// earlier export stay. Raises `std::runtime_error` with the reason.
void write_files(const std::filesystem::path& folder, const std::vector<tessel::exact::text_file_t>& files);
/// Names of those that are not in the folder as they should be.
std::vector<std::string> stale_files(const std::filesystem::path& folder,
                                     const std::vector<tessel::exact::text_file_t>& files);

}  // namespace zarn
