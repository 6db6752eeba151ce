#include "host/cli/prepare.h"

#include <unistd.h>

#include <iostream>

#include "core/format.h"
#include "core/hash.h"
#include "host/diagnose/diagnose.h"
#include "port.h"

namespace zarn {
namespace {

/// Refuses a model in which the host finds an error, before the library meets it.
void refuse_problems(Session& session) {
    const options_t& options = session.options();
    check_options_t how;
    how.final_bridge = true;
    how.settings = session.settings();
    auto findings = diagnose(session.document(), how);
    const bool failed = has_errors(findings);
    const auto counts = summary(findings);
    if (!options.verbose) std::erase_if(findings, [](const finding_t& f) { return f.severity != severity_t::error; });
    print(findings, std::cerr, takes_colors(STDERR_FILENO));
    if (failed) session.refuse(counts);
}

/// "int32, flt64 -> flt64"
std::string types_of(tessel::IMetaBlock& block) {
    std::string text;
    const auto name = [](const tessel::port_t& port) { return port.has_type() ? port.type_name() : "untyped"; };
    for (std::uint64_t i = 0; i < block.input_count(); ++i)
        text += tessel::format("{}{}", i != 0 ? ", " : "", name(*block.input(static_cast<std::int16_t>(i))));
    text += text.empty() ? "->" : " ->";
    for (std::uint64_t i = 0; i < block.output_count(); ++i)
        text += tessel::format("{}{}", i != 0 ? ", " : " ", name(*block.output(static_cast<std::int16_t>(i))));
    return text;
}

/// A model without links keeps the root and the subsystems among its blocks, and a run passes over them.
bool is_subsystem(const tessel::IMetaBlock& block) {
    const auto hash = block.class_hash();
    return hash == tessel::class_hash_of("subsys") || hash == tessel::class_hash_of("refsys");
}

}  // namespace

void load_and_compile(Session& session) {
    refuse_problems(session);
    session.require(session.load(), "load");
    session.require(session.compile(), "compile");
}

tessel::result_t library_result(Session& session) {
    session.set_console_silent(true);
    try {
        if (session.load() == tessel::result_ok) session.compile();
    } catch (const Failure&) {
        return tessel::result_failure;
    }
    return session.last_result();
}

std::unique_ptr<tessel::ExecModel> build_runnable(Session& session) {
    auto exec = std::make_unique<tessel::ExecModel>();
    session.model().build_exec(exec.get());
    auto object = exec->begin();
    constexpr int most = 10;
    int found = 0;
    for (const auto& block : session.model()) {
        const bool empty = *object++ == nullptr;
        if (!empty || block == nullptr || is_subsystem(*block)) continue;
        if (++found <= most)
            session.complain(tessel::format("{}: no runnable form for the types {}", shown(*block), types_of(*block)));
    }
    if (found > most) session.complain(tessel::format("and {} blocks more", found - most));
    if (found > 0) throw Failure{status_model};
    return exec;
}

}  // namespace zarn
