#include "host/export/export.h"

#include <deque>
#include <exception>
#include <fstream>
#include <sstream>
#include <utility>

#include "coder/exact/names.h"
#include "coder/exact/project.h"
#include "core/format.h"
#include "host/draw/picture.h"
#include "host/export/golden.h"
#include "host/session/output_file.h"
#include "host/session/session.h"

namespace zarn {
namespace {

namespace exact = tessel::exact;

/// A picture of more blocks is read by nobody, and weighs more than all the rest.
constexpr std::size_t largest_picture = 2000;

exact::keep_t keep_of(const std::string& word) {
    if (word == "named") return exact::keep_t::named;
    return word == "ports" ? exact::keep_t::ports : exact::keep_t::all;
}

exact::options_t options_of(Session& session, const export_options_t& options) {
    exact::options_t how;
    how.name = options.name.empty() ? exact::identifier(session.file().stem().string()) : options.name;
    how.subsystem = options.subsystem;
    how.inline_parameters = options.inline_parameters;
    how.keep = keep_of(options.keep);
    how.series_as_inputs = options.series_as_inputs;
    how.in_order_of_run = options.in_order_of_run;
    how.model = session.file().filename().string();
    how.meaning = session.meaning();
    return how;
}

}  // namespace

drawn_t picture_of(Session& session, const std::string& part) {
    draw::picture_request_t request;
    request.most = largest_picture;
    request.level = part;
    request.check.final_bridge = true;
    request.check.settings = session.setup().settings;
    try {
        auto picture = draw::draw_picture(session.document(), request);
        drawn_t drawn{std::move(picture.svg), ""};
        if (drawn.svg.empty())
            drawn.note = tessel::format("no picture: {} blocks are too many for one", picture.left_out);
        else if (picture.left_out != 0)
            drawn.note =
                tessel::format("a picture of one level alone: the {} blocks below it are too many", picture.left_out);
        return drawn;
    } catch (const std::exception&) {
        return {"", "no picture: the diagram cannot be drawn"};
    }
}

Export::Export(Session& session, const export_options_t& options) : session_(session), exec_(session.build()) {
    const auto how = options_of(session, options);
    const Session::Active active(session);
    exec_->bind();
    try {
        unit_ = exact::make_unit(session.model(), session.properties(), *exec_, how);
    } catch (const exact::Refusal& refusal) {
        throw session.error(problem_t::model, refusal.what());
    }
}

std::vector<exact::text_file_t> Export::files() {
    const Session::Active active(session_);
    auto files = exact::write_c(unit_);
    files.push_back(exact::write_main(unit_));
    files.push_back(exact::write_test(unit_, record_golden(unit_, *exec_)));
    for (auto& file : exact::write_build(unit_)) files.push_back(std::move(file));
    files.push_back(exact::write_trace(unit_));
    files.push_back(exact::write_a2l(unit_));
    const std::string svg = picture_of(session_, unit_.part).svg;
    const std::string picture = svg.empty() ? std::string() : unit_.name + ".svg";
    files.push_back(exact::write_readme(unit_, picture));
    if (!svg.empty()) files.push_back({picture, svg});
    return files;
}

void write_files(const std::filesystem::path& folder, const std::vector<exact::text_file_t>& files) {
    std::filesystem::create_directories(folder);
    std::deque<OutputFile> written;
    for (const auto& file : files) written.emplace_back(folder / file.name).write(file.text);
    for (OutputFile& file : written) file.commit();
}

std::vector<std::string> stale_files(const std::filesystem::path& folder,
                                     const std::vector<exact::text_file_t>& files) {
    std::vector<std::string> stale;
    for (const auto& file : files) {
        std::ifstream stream(folder / file.name, std::ios::binary);
        std::ostringstream text;
        if (stream) text << stream.rdbuf();
        if (!stream || text.str() != file.text) stale.push_back(file.name);
    }
    return stale;
}

}  // namespace zarn
