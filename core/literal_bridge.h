// The built-in bridge: literals only, nothing is ever executed.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "core/python.h"

namespace python {

/// Texts by dotted name. A name costs what it adds to the one stored before it: the names of subsystems within each
/// other take the square of their depth together.
class TextsByName {
public:
    void set(std::string_view name, std::string_view text);
    /// The text of a name, "" if there is none.
    std::string get(std::string_view name) const;
    void clear() { *this = {}; }

private:
    struct node_t {
        std::map<std::string, std::size_t, std::less<>> inside;  // the next part of a name: its node
        std::string text;
    };
    struct level_t {
        std::size_t node = 0;
        std::size_t end = 0;  // of the part within the name
    };

    std::vector<node_t> nodes_ = std::vector<node_t>(1);
    std::string last_;          // the name that was set last
    std::vector<level_t> way_;  // the nodes of its parts
};

/// Understands numbers, True and False, quoted text and lists of numbers to two levels. What `assign`, `set_attribute`
/// and `set_array` store stays in memory, where a host can read it. Every other expression is refused with one line on
/// the console and -1.
class BLOCKS_API LiteralBridge final : public IPythonWrap {
public:
    std::shared_ptr<ISeries> find_series(const char* expression) override;
    void set_array(std::string_view name, const double* values, std::int32_t count) override;
    void set_attribute(std::string_view object, std::string_view key, double value) override;
    tessel::result_t evaluate_array(std::string_view name, std::string_view text, var_array_t& array) override;
    tessel::result_t evaluate(std::string_view scope, std::string_view text, tessel::var_t* result) override;
    void assign(std::string_view name, std::string_view expression) override;

    /// The array stored under a dotted name, empty if there is none.
    std::vector<double> array(std::string_view name) const;
    /// The expression last assigned to a dotted name, "" if there is none.
    std::string assigned(std::string_view name) const;
    /// The attribute "object.key", 0.0 if there is none.
    double attribute(std::string_view name) const;
    /// Lets `find_series` answer `expression` with these samples, `times` never falling and as many as `values`.
    void set_series(std::string_view expression, std::vector<double> times, std::vector<double> values);
    /// Forgets everything.
    void clear();

private:
    mutable std::mutex mutex_;
    std::map<std::string, std::vector<double>, std::less<>> arrays_;
    TextsByName assigned_;
    std::map<std::string, double, std::less<>> attributes_;
    std::map<std::string, std::shared_ptr<ISeries>, std::less<>> series_;
};

/// The one built-in bridge of the process.
BLOCKS_API LiteralBridge& literal_bridge();

/// Copies samples into a record that holds one element more than its count, see `array_t`.
BLOCKS_API array_t make_array(const std::vector<double>& values);

}  // namespace python
