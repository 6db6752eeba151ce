#include "host/export/fmu.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "coder/fmu/package.h"
#include "coder/fmu/platform.h"
#include "core/format.h"
#include "host/session/session.h"
#include "host/toolchain/process.h"

namespace zarn {
namespace {

namespace fmu = tessel::fmu;

std::vector<target_t> targets_of(const fmu_options_t& options) {
    std::vector<target_t> targets;
    for (const std::string& text : options.targets) {
        const auto sign = text.find('=');
        const target_t target{text.substr(0, sign), sign == std::string::npos ? "" : text.substr(sign + 1)};
        if (!fmu::is_platform(target.platform) || target.compiler.empty())
            throw SessionError(problem_t::usage,
                               tessel::format("--target {}: a platform and its compiler are wanted, such as "
                                              "aarch64-linux=aarch64-linux-gnu-gcc",
                                              text));
        if (std::ranges::find(targets, target.platform, &target_t::platform) != targets.end())
            throw SessionError(problem_t::usage, tessel::format("--target {}: named twice", target.platform));
        targets.push_back(target);
    }
    const std::string own = fmu::this_platform();
    if (options.sources_only || std::ranges::find(targets, own, &target_t::platform) != targets.end()) return targets;
    const auto compiler = find_c_compiler();
    if (!compiler)
        throw SessionError(problem_t::file,
                           "no C compiler ($CC, else cc, gcc or clang) on the PATH for this machine's library: install "
                           "one, or take --sources-only");
    if (own.empty())
        throw SessionError(problem_t::usage, "the interface has no name for this machine: take --sources-only");
    targets.push_back({own, compiler->string()});
    return targets;
}

fmu::package_t package_of(Session& session, const fmu_options_t& options, std::vector<std::string>& notes) {
    export_options_t program = options.program;
    program.keep = options.all_signals ? "all" : "ports";
    const auto unit = program_of(session, program);
    fmu::package_options_t how;
    how.version = options.version == 2 ? fmu::version_t::two : fmu::version_t::three;
    how.all_signals = options.all_signals;
    how.generator = options.generator;
    if (options.with_picture) {
        const Session::Active active(session);
        drawn_t drawn = picture_of(session, options.program.subsystem);
        if (!drawn.note.empty()) notes.push_back("the documentation has " + drawn.note);
        how.picture = std::move(drawn.svg);
    }
    try {
        return fmu::make_package(unit, how);
    } catch (const tessel::exact::Refusal& refusal) {
        throw session.error(problem_t::model, refusal.what());
    }
}

}  // namespace

fmu_t fmu_of(Session& session, const fmu_options_t& options) {
    const std::vector<target_t> targets = targets_of(options);
    fmu_t result;
    fmu::package_t package = package_of(session, options, result.notes);
    for (const std::string& left_out : package.interface.left_out) result.notes.push_back(left_out);
    for (const target_t& target : targets) {
        try {
            package.files[fmu::library_path(target.platform, package.version, package.name)] =
                compile_library(package, target, options.interrupted);
        } catch (const std::exception& error) {
            if (options.interrupted && options.interrupted()) throw SessionError(problem_t::interrupted, "interrupted");
            throw SessionError(problem_t::file, tessel::format("the library for {} cannot be compiled: {}",
                                                               target.platform, error.what()));
        }
        result.platforms.push_back(target.platform);
    }
    result.bytes = fmu::write_archive(package.files);
    result.name = package.name;
    result.token = package.token;
    result.interface = std::move(package.interface);
    return result;
}

}  // namespace zarn
