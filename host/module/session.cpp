#include "host/module/session.h"

#include <pybind11/stl.h>

#include <sstream>

#include "core/format.h"
#include "host/diagnose/explain.h"
#include "host/draw/picture.h"
#include "host/module/module.h"

namespace zarn::module {

using unlocked = py::gil_scoped_release;

session_setup_t setup_of(const std::string& model, const py::dict& settings, const py::object& functions,
                         CPythonBridge** bridge) {
    session_setup_t setup;
    setup.model = model;
    for (const auto& [key, value] : settings)
        setup.settings.emplace_back(key.cast<std::string>(), value.cast<double>());
    if (functions.is_none()) return setup;
    // the last to hold it may not have the interpreter's lock
    const auto destroy = [](CPythonBridge* done) {
        const py::gil_scoped_acquire lock;
        delete done;
    };
    const std::shared_ptr<CPythonBridge> made(new CPythonBridge(functions), destroy);
    if (bridge != nullptr) *bridge = made.get();
    setup.bridge = made;
    return setup;
}

PySession::PySession(const std::string& model, const py::object& text, const py::dict& settings,
                     const py::object& functions) {
    CPythonBridge* bridge = nullptr;
    session_setup_t setup = setup_of(model, settings, functions, &bridge);
    evaluates_ = bridge != nullptr;
    std::optional<std::string> given;
    if (!text.is_none()) given = text.cast<std::string>();
    const unlocked others;
    session_ = given ? std::make_unique<Session>(std::move(setup), std::move(*given))
                     : std::make_unique<Session>(std::move(setup));
    if (bridge != nullptr)
        bridge->set_locator([session = session_.get()](std::string_view scope) { return session->block_of(scope); });
}

py::list PySession::list_of(const std::vector<finding_t>& findings) { return module::list_of(findings); }

py::list PySession::check(bool confirm) {
    {
        const unlocked others;
        session_->check(evaluates_, confirm);
    }
    return findings();
}

void PySession::prepare() {
    const unlocked others;
    session_->prepare();
}

py::list PySession::inputs() {
    py::list all;
    for (const input_t& input : inputs_of(*session_))
        all.append(py::make_tuple(input.name, std::string(input.block->name()), dtype_of(input.type)));
    return all;
}

std::uint64_t PySession::steps() {
    const unlocked others;
    return count_steps(*session_);
}

py::dict PySession::settings() const {
    py::dict all;
    for (const char* key : {"ti", "tf", "ts"}) all[key] = session_->setting(key);
    return all;
}

py::list PySession::console() const {
    py::list all;
    for (const std::string& text : session_->console()) all.append(text);
    return all;
}

py::dict PySession::run(const std::vector<std::string>& probes, bool all, const py::dict& feeds,
                        const py::object& progress, bool objects) {
    const auto inputs = inputs_of(*session_);
    std::vector<feed_t> fed;
    for (const auto& [name, values] : feeds) {
        const auto& array = py::reinterpret_borrow<py::array>(values);
        fed.push_back(
            {find_input(inputs, name.cast<std::string>()), array.data(), static_cast<std::uint64_t>(array.size())});
    }
    std::unique_ptr<Run> run;
    std::unique_ptr<PythonWatch> watch;
    {
        const unlocked others;
        run = std::make_unique<Run>(*session_);
        auto& model = session_->model();
        auto signals = !probes.empty() ? find_signals(model, probes, "probe")
                       : all           ? all_signals(model)
                                       : shown_signals(model);
        name_as_written(signals, *session_);
        run->record(std::move(signals));
        run->expect_all();
        run->survive_faults();
    }
    watch = std::make_unique<PythonWatch>(*run, Feeder(run->model(), fed), progress);
    {
        const unlocked others;
        watch->begin();
        run->go(*watch, objects ? tessel::engine_t::objects : tessel::engine_t::plan);
    }
    watch->raise_pending();
    if (run->clock().exhausted)
        throw session_->error(problem_t::model,
                              "the memory is used up by what is recorded; record fewer signals, or end sooner");
    py::dict result;
    result["series"] = series_of(*run);
    result["steps"] = run->clock().step;
    result["time"] = run->clock().time;
    return result;
}

std::string PySession::explain(const std::string& path, bool json) {
    const unlocked others;
    const Session::Active active(*session_);
    check_options_t options;
    options.final_bridge = evaluates_;
    options.settings = session_->setup().settings;
    const Explanation explanation(session_->document(), options);
    if (has_errors(explanation.findings()))
        throw session_->error(problem_t::model, summary(explanation.findings()), explanation.findings());
    std::vector<const stepped_t*> blocks;
    if (path.empty())
        for (const stepped_t& block : explanation.order()) blocks.push_back(&block);
    else blocks = explanation.at(path);
    if (blocks.empty() && !path.empty()) {
        const std::string near = explanation.nearest_path(path);
        throw SessionError(problem_t::usage, tessel::format("no block that runs has the path {}{}", path,
                                                            near.empty() ? "" : "; did you mean " + near + "?"));
    }
    if (json) return explanation.json(session_->setup().model, blocks);
    std::ostringstream text;
    if (path.empty()) explanation.print_table(text);
    else
        for (const stepped_t* block : blocks) explanation.print_block(*block, text);
    return text.str();
}

py::dict PySession::draw(const std::string& level, int depth, bool relayout, double seconds) {
    draw::picture_t picture;
    {
        const unlocked others;
        const Session::Active active(*session_);
        draw::picture_request_t request;
        request.options.depth = depth;
        request.options.relayout = relayout;
        request.options.layout_limit = std::chrono::milliseconds(static_cast<long long>(seconds * 1000));
        request.level = level;
        request.check.final_bridge = evaluates_;
        request.check.settings = session_->setup().settings;
        try {
            picture = draw::draw_picture(session_->document(), request);
        } catch (const std::out_of_range& error) {
            throw SessionError(problem_t::usage, error.what());
        } catch (const std::runtime_error& error) {
            throw session_->error(problem_t::model, error.what());
        }
    }
    py::dict answer;
    answer["svg"] = picture.svg;
    answer["notes"] = picture.diagram.notes;
    answer["remarks"] = picture.diagram.remarks;
    answer["findings"] = list_of(picture.findings);
    return answer;
}

std::string PySession::meaning() {
    const unlocked others;
    return session_->meaning();
}

/// Where the blocks of the file itself would stand in a picture, by their places in its list.
py::list PySession::layout() {
    struct place_t {
        std::size_t at;
        draw::Rect box;
    };
    std::vector<place_t> places;
    {
        const unlocked others;
        auto diagram = draw::read_diagram(session_->document());
        draw::DrawOptions options;
        options.relayout = true;
        options.layout_limit = std::chrono::milliseconds(0);  // the same on every machine
        std::string note;
        std::vector<std::size_t> at(diagram.blocks.size(), draw::none);
        const auto& own = diagram.parts.front().blocks;
        for (std::size_t i = 0; i < own.size(); ++i)
            if (own[i] != draw::none) at[own[i]] = i;
        for (const draw::Scene& page : draw::make_scenes(diagram, options, note))
            for (const draw::Node& node : page.nodes)
                if (at[node.block] != draw::none) places.push_back({at[node.block], node.box});
    }
    py::list all;
    for (const place_t& place : places)
        all.append(py::make_tuple(place.at, place.box.x, place.box.y, place.box.w, place.box.h));
    return all;
}

void add_session(py::module_& module) {
    py::class_<PySession>(module, "Session", py::module_local())
        .def(py::init<const std::string&, const py::object&, const py::dict&, const py::object&>(), py::arg("model"),
             py::arg("text") = py::none(), py::arg("settings") = py::dict(), py::arg("functions") = py::none())
        .def("check", &PySession::check, py::arg("confirm") = false)
        .def("prepare", &PySession::prepare)
        .def("findings", &PySession::findings)
        .def("inputs", &PySession::inputs)
        .def("steps", &PySession::steps)
        .def("settings", &PySession::settings)
        .def("console", &PySession::console)
        .def("run", &PySession::run, py::arg("probes"), py::arg("all"), py::arg("feeds"), py::arg("progress"),
             py::arg("objects") = false)
        .def("explain", &PySession::explain, py::arg("path"), py::arg("json"))
        .def("draw", &PySession::draw, py::arg("level"), py::arg("depth"), py::arg("relayout"), py::arg("seconds"))
        .def("layout", &PySession::layout)
        .def("meaning", &PySession::meaning);
}

}  // namespace zarn::module
