#include "host/export/export.h"

#include <filesystem>

#include "coder/exact/names.h"
#include "host/session/session.h"

namespace zarn {
namespace {

tessel::exact::keep_t keep_of(const std::string& word) {
    if (word == "named") return tessel::exact::keep_t::named;
    return word == "ports" ? tessel::exact::keep_t::ports : tessel::exact::keep_t::all;
}

}  // namespace

tessel::exact::unit_t program_of(Session& session, const export_options_t& options) {
    tessel::exact::options_t how;
    how.name = options.name.empty() ? tessel::exact::identifier(session.file().stem().string()) : options.name;
    how.subsystem = options.subsystem;
    how.inline_parameters = options.inline_parameters;
    how.keep = keep_of(options.keep);
    how.series_as_inputs = options.series_as_inputs;
    how.in_order_of_run = options.in_order_of_run;
    how.model = session.file().filename().string();
    how.meaning = session.meaning();
    const auto exec = session.build();
    const Session::Active active(session);
    exec->bind();
    try {
        return tessel::exact::make_unit(session.model(), session.properties(), *exec, how);
    } catch (const tessel::exact::Refusal& refusal) {
        throw session.error(problem_t::model, refusal.what());
    }
}

}  // namespace zarn
