#include "host/bridge/bridge.h"

#include <memory>
#include <vector>

#include "core/format.h"
#include "core/literal_bridge.h"

namespace zarn {
namespace {

namespace py = pybind11;
using tessel::result_failure;
using tessel::result_ok;
using tessel::result_t;
using tessel::var_t;

/// Memory that a block handed over, as a buffer of the interpreter.
struct Samples {
    std::unique_ptr<const double[]> data;
    py::ssize_t count;
};

class Series final : public python::ISeries {
public:
    Series(const std::vector<double>& times, const std::vector<double>& values)
        : times_(python::make_array(times)), values_(python::make_array(values)) {}
    python::array_t time_data() override { return times_; }
    python::array_t value_data() override { return values_; }
    void load() override {}

private:
    python::array_t times_;
    python::array_t values_;
};

/// One line on the console: where, the expression, what is wrong with it.
void tell(std::string_view where, std::string_view text, std::string_view problem) {
    std::string line = where.empty() ? std::string() : tessel::format("{}: ", where);
    line += tessel::format("'{}': {}", text, problem);
    for (char& c : line)
        if (c == '\n' || c == '\r') c = ' ';
    python::pyout(line);
}

/// Calls `ask` with the lock held and hands its answer, a pair of None and a text when something went wrong, to `use`.
template <class Where, class Ask, class Use>
bool answered(Where where, std::string_view text, Ask ask, Use use) noexcept {
    try {
        const py::gil_scoped_acquire lock;
        try {
            const py::tuple answer = ask();
            if (!answer[0].is_none()) {
                use(answer);
                return true;
            }
            tell(where(), text, answer[1].cast<std::string>());
        } catch (const std::exception& error) {
            tell(where(), text, error.what());
        }
    } catch (...) {
        // not even the message could be made: there is no memory
    }
    return false;
}

var_t value_of(const py::handle& tag, const py::handle& value) {
    switch (static_cast<tessel::type_t>(tag.cast<int>())) {
        case tessel::type_bool: return var_t(value.cast<bool>());
        case tessel::type_int8: return var_t(value.cast<std::int8_t>());
        case tessel::type_uint8: return var_t(value.cast<std::uint8_t>());
        case tessel::type_int16: return var_t(value.cast<std::int16_t>());
        case tessel::type_uint16: return var_t(value.cast<std::uint16_t>());
        case tessel::type_int32: return var_t(value.cast<std::int32_t>());
        case tessel::type_uint32: return var_t(value.cast<std::uint32_t>());
        case tessel::type_int64: return var_t(value.cast<std::int64_t>());
        case tessel::type_uint64: return var_t(value.cast<std::uint64_t>());
        case tessel::type_flt32: return var_t(static_cast<float>(value.cast<double>()));
        case tessel::type_flt64: return var_t(value.cast<double>());
        default: return var_t(value.cast<std::string>().c_str());
    }
}

std::vector<double> doubles_of(const py::handle& array) {
    const auto buffer = array.cast<py::buffer>().request();
    const auto* first = static_cast<const double*>(buffer.ptr);
    return {first, first + buffer.size};
}

}  // namespace

void add_samples(py::module_& module) {
    // of that module alone: the command's own and the package's are in one process when a workspace imports the latter
    py::class_<Samples>(module, "Samples", py::buffer_protocol(), py::module_local())
        .def_buffer([](const Samples& samples) {
            return py::buffer_info(const_cast<double*>(samples.data.get()), samples.count);
        });
}

std::string CPythonBridge::block_of(std::string_view scope) const {
    return locate_ ? locate_(scope) : std::string(scope);
}

std::shared_ptr<python::ISeries> CPythonBridge::find_series(const char* expression) {
    const std::string_view text = expression != nullptr ? expression : "";
    std::shared_ptr<python::ISeries> series;
    answered(
        [] { return ""; }, text, [&] { return functions_.attr("find_series")(text); },
        [&](const py::tuple& found) { series = std::make_shared<Series>(doubles_of(found[0]), doubles_of(found[1])); });
    return series;
}

void CPythonBridge::set_array(std::string_view name, const double* values, std::int32_t count) {
    std::unique_ptr<const double[]> owner(values);
    answered([&] { return name; }, "array",
             [&] {
                 auto samples = py::cast(Samples{std::move(owner), std::max(count, 0)});
                 return functions_.attr("set_array")(
                     name, py::reinterpret_steal<py::object>(PyMemoryView_FromObject(samples.ptr())));
             },
             [](const py::tuple&) {});
}

void CPythonBridge::set_attribute(std::string_view object, std::string_view key, double value) {
    answered([&] { return object; }, key, [&] { return functions_.attr("set_attribute")(object, key, value); },
             [](const py::tuple&) {});
}

result_t CPythonBridge::evaluate_array(std::string_view name, std::string_view text, python::var_array_t& array) {
    array = {};
    const bool good =
        answered([&] { return block_of(name); }, text, [&] { return functions_.attr("evaluate_array")(name, text); },
                 [&](const py::tuple& found) {
                     const auto elements = found[2].cast<py::list>();
                     array.values.reserve(elements.size());
                     for (const auto& element : elements) {
                         const auto pair = element.cast<py::tuple>();
                         array.values.push_back(value_of(pair[0], pair[1]));
                     }
                     array.dimensions = {found[0].cast<std::uint64_t>(), found[1].cast<std::uint64_t>()};
                 });
    if (!good) array = {};
    return good ? result_ok : result_failure;
}

result_t CPythonBridge::evaluate(std::string_view scope, std::string_view text, var_t* result) {
    const bool good =
        answered([&] { return block_of(scope); }, text, [&] { return functions_.attr("evaluate")(scope, text); },
                 [&](const py::tuple& found) { *result = value_of(found[0], found[1]); });
    return good ? result_ok : result_failure;
}

void CPythonBridge::assign(std::string_view name, std::string_view expression) {
    answered([&] { return name; }, expression, [&] { return functions_.attr("assign")(name, expression); },
             [](const py::tuple&) {});
}

}  // namespace zarn
