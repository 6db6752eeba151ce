// The bridge to the interpreter that holds the user's workspace.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>
#include <vector>

#include "core/export.h"
#include "core/result.h"
#include "core/var.h"

namespace python {

/// An array of doubles with a shared owner. One element more than `count` is readable: a copy of the last value, or
/// 0.0 when there is none.
struct array_t {
    std::shared_ptr<const void> owner;
    const double* data = nullptr;
    std::uint64_t count = 0;
};

/// A time series of the workspace. `load` comes before the two others.
class BLOCKS_API ISeries {
public:
    virtual ~ISeries() = default;
    virtual array_t time_data() = 0;   ///< sample times in seconds, never falling
    virtual array_t value_data() = 0;  ///< as many values
    virtual void load() = 0;           ///< makes the data available
};

/// Elements and dimensions (rows, columns) of an evaluated list. A flat list of n has the dimensions n and 1, an empty
/// or failed one 0 and 0.
struct var_array_t {
    std::vector<tessel::var_t> values;
    std::array<std::uint64_t, 2> dimensions{0, 0};
};

/// What the library asks of the interpreter. Every operation can be called from any thread and none throws; failures
/// are told on the console.
class BLOCKS_API IPythonWrap {
public:
    virtual ~IPythonWrap() = default;
    /// The series that the expression yields, empty if there is none.
    virtual std::shared_ptr<ISeries> find_series(const char* expression) = 0;
    /// Stores `count` values under a dotted name and takes over their memory, which came from `new double[]`.
    virtual void set_array(std::string_view name, const double* values, std::int32_t count) = 0;
    /// Sets one float attribute of a named object.
    virtual void set_attribute(std::string_view object, std::string_view key, double value) = 0;
    /// Evaluates a list, of at most two levels, in the scope of `name`, whose last segment names the parameter.
    virtual tessel::result_t evaluate_array(std::string_view name, std::string_view text, var_array_t& array) = 0;
    /// Evaluates an expression in a scope, whose last segment names the parameter.
    virtual tessel::result_t evaluate(std::string_view scope, std::string_view text, tessel::var_t* result) = 0;
    /// Evaluates the expression and binds the dotted name to its value.
    virtual void assign(std::string_view name, std::string_view expression) = 0;
};

/// The bridge in use: the host's, or the built-in literal bridge when the host has set none. Not owned by the caller.
BLOCKS_API IPythonWrap* wrap();

/// Sets the host's bridge, null for the built-in one. The bridge must outlive its use.
BLOCKS_API void set_wrap(IPythonWrap* bridge);

/// Writes a text to the user's console. Can be called from any thread; texts come out one after the other.
BLOCKS_API void pyout(std::string_view text);

using console_t = std::function<void(std::string_view)>;

/// Sends later console texts to `sink`; an empty one means a line on standard error. Returns the one before. A sink
/// must not call `pyout` or `set_console`, nor wait for a lock that a caller of `pyout` can hold.
BLOCKS_API console_t set_console(console_t sink);

}  // namespace python
