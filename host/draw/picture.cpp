#include "host/draw/picture.h"

#include <nlohmann/json.hpp>
#include <stdexcept>
#include <utility>

#include "core/format.h"
#include "host/diagnose/analysis.h"
#include "host/document/limits.h"
#include "host/draw/checked.h"
#include "host/draw/svg.h"

namespace zarn::draw {
namespace {

Diagram diagram_of(Document& document) {
    try {
        return read_diagram(document);
    } catch (const nlohmann::json::exception& error) {
        const std::string_view text = error.what();  // behind the number of the library's error
        throw std::runtime_error(std::string(text.substr(text.find(' ') + 1)));
    }
}

}  // namespace

picture_t draw_picture(Document& document, const picture_request_t& request) {
    picture_t picture;
    picture.too_much = find_unloadable(document);
    if (!document.main().problem().empty()) throw std::runtime_error(picture.too_much);
    picture.diagram = diagram_of(document);
    DrawOptions options = request.options;
    if (!request.level.empty()) options.level = picture.diagram.find_subsystem(request.level);
    if (!request.level.empty() && options.level == none)
        throw std::out_of_range(tessel::format("{}: there is no subsystem of this path", request.level));
    if (picture.diagram.blocks.size() > request.most) {
        if (options.level == none) options.level = 0;
        const std::size_t drawn = picture.diagram.children()[options.level].size();
        if (drawn > request.most) {
            picture.left_out = drawn;
            return picture;
        }
        if (request.level.empty()) picture.left_out = picture.diagram.blocks.size() - 1 - drawn;
    }
    if (picture.too_much.empty()) {
        analysis_t analysis;
        Report report(analysis.graph);
        analyse(analysis, report, document, request.check);
        picture.findings = report.take();
        take_checks(picture.diagram, analysis, picture.findings);
    } else {
        picture.diagram.notes.push_back(picture.too_much);
    }
    const auto pages = make_scenes(picture.diagram, options, picture.layout);
    picture.pages = pages.size();
    picture.svg = write_svg(picture.diagram, pages);
    return picture;
}

}  // namespace zarn::draw
