#include "tests/support/random_model.h"

#include <array>
#include <utility>
#include <vector>

#include "core/literal_bridge.h"
#include "core/type.h"

namespace tessel::test {
namespace {

using nlohmann::json;

constexpr std::array value_type_codes{type_bool,   type_int8,  type_uint8,  type_int16, type_uint16, type_int32,
                                      type_uint32, type_int64, type_uint64, type_flt32, type_flt64};

/// An output port and what is known of it.
struct signal_t {
    std::uint64_t id = 0;
    int port = 0;
    type_t type = type_unknown;
    bool remembered = false;  ///< straight from a memory block
};

/// Each decision is taken in a statement of its own: compilers differ in the order in which they evaluate arguments.
class Writer {
public:
    Writer(Choices& choices, const random_model_t& shape) : pick_(choices), left_(shape.blocks), shape_(shape) {
        file_["blocks"] = json::array();
        file_["links"] = json::array();
        static constexpr std::array steps{0.1, 0.25, 1.0};
        const double ts = steps[pick_.below(steps.size())];
        const double ti = pick_.once_in(3) ? -0.5 : 0.0;
        file_["model"] = {{"ti", ti}, {"tf", ti + ts * (0.5 + pick_.below(14))}, {"ts", ts}};
    }

    json take() {
        std::vector<signal_t> signals;
        level(0, signals, 0);
        return std::move(file_);
    }

private:
    using signals_t = std::vector<signal_t>;

    // ---- blocks and links
    std::uint64_t add(const char* class_name, std::uint64_t parent, int inputs, int outputs, json parameters = {}) {
        const std::uint64_t id = ++last_id_;
        json block = parameters.is_object() ? std::move(parameters) : json::object();
        block["name"] = class_name + std::to_string(id);
        block["id"] = id;
        block["parent"] = parent;
        block["inportCount"] = inputs;
        block["outportCount"] = outputs;
        file_["blocks"].push_back({{class_name, std::move(block)}});
        if (left_ > 0) --left_;
        return id;
    }
    void link(const signal_t& from, std::uint64_t to, int port) {
        file_["links"].push_back({{"srcId", from.id},
                                  {"dstId", to},
                                  {"srcPort", from.port},
                                  {"dstPort", port},
                                  {"label", pick_.once_in(4) ? "w" + std::to_string(to) : ""}});
    }

    // ---- signals
    type_t any_type() { return value_type_codes[pick_.below(value_type_codes.size())]; }
    type_t any_number() { return value_type_codes[1 + pick_.below(value_type_codes.size() - 1)]; }
    const signal_t& any(const signals_t& signals) {
        return signals[pick_.below(static_cast<unsigned>(signals.size()))];
    }
    /// Feeds an input with some signal, as it is or through a cast; tells the type in which it arrives.
    type_t feed(const signals_t& signals, std::uint64_t parent, std::uint64_t to, int port) {
        const type_t type = pick_.once_in(4) ? any_type() : type_unknown;
        const signal_t& from = any(signals);
        return feed(from, type, parent, to, port);
    }
    /// The same in one type.
    void feed_as(type_t type, const signals_t& signals, std::uint64_t parent, std::uint64_t to, int port) {
        feed(any(signals), type, parent, to, port);
    }
    type_t feed(const signal_t& from, type_t type, std::uint64_t parent, std::uint64_t to, int port) {
        if (type == type_unknown || (type == from.type && !pick_.once_in(4))) {
            link(from, to, port);
            return from.type;
        }
        const std::uint64_t cast = add("cast", parent, 1, 1, {{"type", short_name(type)}});
        link(from, cast, 0);
        link({cast, 0, type, false}, to, port);
        return type;
    }
    static std::string decimal(int tenths) {
        return (tenths < 0 ? "-" : "") + std::to_string(std::abs(tenths) / 10) + "." +
               std::to_string(std::abs(tenths) % 10);
    }
    std::string number() { return decimal(static_cast<int>(pick_.below(400)) - 200); }
    std::string positive() { return decimal(static_cast<int>(1 + pick_.below(50))); }

    // ---- sources
    signal_t constant(std::uint64_t parent) {
        static constexpr std::array whole{"0", "1", "3", "-7", "100", "-129", "2147483647", "-2147483648"};
        switch (pick_.below(4)) {
            case 0: return {add("constant", parent, 0, 1, {{"expression", number()}}), 0, type_flt64, false};
            case 1: {
                const char* text = whole[pick_.below(whole.size())];
                return {add("constant", parent, 0, 1, {{"expression", text}}), 0, type_int32, false};
            }
            case 2: {
                const char* text = pick_.once_in(2) ? "True" : "False";
                return {add("constant", parent, 0, 1, {{"expression", text}}), 0, type_bool, false};
            }
            default: return {add("constant", parent, 0, 1, {{"expression", "1e300"}}), 0, type_flt64, false};
        }
    }
    signal_t source(std::uint64_t parent) {
        std::uint64_t id = 0;
        switch (pick_.below(parent == 0 ? 10 : 9)) {
            case 0: id = add("time", parent, 0, 1); break;
            case 1: {
                json parameters;
                parameters["frequency"] = positive();
                parameters["phase"] = number();
                id = add("sinewave", parent, 0, 1, std::move(parameters));
                break;
            }
            case 2: {
                json parameters;
                for (const char* key : {"timeOff", "timeOn"}) parameters[key] = positive();
                for (const char* key : {"valueOff", "valueOn"}) parameters[key] = number();
                id = add("squarewave", parent, 0, 1, std::move(parameters));
                break;
            }
            case 3: {
                json parameters;
                for (const char* key : {"initialValue", "finalValue", "stepTime"}) parameters[key] = number();
                id = add("step", parent, 0, 1, std::move(parameters));
                break;
            }
            case 4: {
                json parameters{{"max", "90.0"}};
                parameters["min"] = number();
                parameters["seed"] = positive();
                id = add("random", parent, 0, 1, std::move(parameters));
                break;
            }
            case 5: id = add("from_workspace", parent, 0, 1, {{"expression", random_series}}); break;
            case 9: id = add("inport", parent, 1, 1, {{"portNumber", static_cast<int>(last_id_)}}); break;
            default: return constant(parent);
        }
        return {id, 0, type_flt64, false};
    }

    // ---- blocks with inputs
    signal_t unary(const signals_t& signals, std::uint64_t parent) {
        static constexpr std::array names{"abs", "acos", "asin", "atan", "cos", "log",
                                          "sin", "sqrt", "tan",  "min",  "max", "delta"};
        const std::uint64_t id = add(names[pick_.below(names.size())], parent, 1, 1);
        return {id, 0, feed(signals, parent, id, 0), false};
    }
    signal_t flag(const signals_t& signals, std::uint64_t parent) {
        std::uint64_t id = 0;
        switch (pick_.below(4)) {
            case 0: id = add("not", parent, 1, 1); break;
            case 1: {
                static constexpr std::array delays{"0.0", "0.2", "1.0"};
                json parameters;
                for (const char* key : {"rise", "fall"}) parameters[key] = delays[pick_.below(delays.size())];
                id = add("debounce", parent, 1, 1, std::move(parameters));
                break;
            }
            case 2: {
                json parameters;
                for (const char* key : {"valueOff", "valueOn"}) parameters[key] = number();
                id = add("hysteresis", parent, 1, 1, std::move(parameters));
                break;
            }
            default: {
                static constexpr std::array words{"and", "or", "nand", "nor"};
                const int count = 2 + static_cast<int>(pick_.below(7));
                id = add("logical", parent, count, 1, {{"operator", words[pick_.below(words.size())]}});
                for (int i = 1; i < count; ++i) feed(signals, parent, id, i);
            }
        }
        feed(signals, parent, id, 0);
        return {id, 0, type_bool, false};
    }
    signal_t arithmetic(const signals_t& signals, std::uint64_t parent) {
        static constexpr std::array names{"add", "subtract", "multiply"};
        const int count = 2 + static_cast<int>(pick_.below(2));
        const std::uint64_t id = add(names[pick_.below(names.size())], parent, count, 1);
        type_t type = type_unknown;
        for (int i = 0; i < count; ++i) type = std::max(type, feed(signals, parent, id, i));
        return {id, 0, type, false};
    }
    /// Divisors are floats: whole numbers can end the process.
    signal_t quotient(const signals_t& signals, std::uint64_t parent) {
        const std::uint64_t id = add(pick_.once_in(2) ? "divide" : "mod", parent, 2, 1);
        const type_t divisor = pick_.once_in(2) ? type_flt32 : type_flt64;
        const type_t dividend = any_number();
        feed_as(dividend, signals, parent, id, 0);
        feed_as(divisor, signals, parent, id, 1);
        return {id, 0, std::max(dividend, divisor), false};
    }
    signal_t pair(const signals_t& signals, std::uint64_t parent) {
        static constexpr std::array words{"eq", "ne", "lt", "le", "gt", "ge"};
        const bool compares = pick_.once_in(2);
        const std::uint64_t id = compares ? add("relational", parent, 2, 1, {{"operator", words[pick_.below(6)]}})
                                          : add("pow", parent, 2, 1);
        const type_t type = any_type();
        for (int i = 0; i < 2; ++i) feed_as(type, signals, parent, id, i);
        return {id, 0, compares ? type_bool : type, false};
    }
    signal_t choice(const signals_t& signals, std::uint64_t parent) {
        const type_t type = any_number();
        const bool two = pick_.once_in(2);
        const int count = two ? 3 : 3 + static_cast<int>(pick_.below(6));
        const std::uint64_t id = add(two ? "if" : "switch", parent, count, 1);
        feed(signals, parent, id, 0);
        for (int i = 1; i < count; ++i) feed_as(type, signals, parent, id, i);
        return {id, 0, type, false};
    }
    signal_t clamp(const signals_t& signals, std::uint64_t parent) {
        const std::uint64_t id = add("clamp", parent, 3, 1);
        const type_t type = any_type();
        feed_as(type, signals, parent, id, 0);
        for (int i = 1; i < 3; ++i) {
            type_t limit = any_type();
            if (limit > type) limit = type;
            feed_as(limit, signals, parent, id, i);
        }
        return {id, 0, type, false};
    }
    signal_t accumulator(const signals_t& signals, std::uint64_t parent) {
        const std::uint64_t id = add("acc", parent, 3, 1);
        const type_t type = feed(signals, parent, id, 0);
        for (int i = 1; i < 3; ++i) feed(signals, parent, id, i);
        return {id, 0, type, false};
    }
    signal_t table(const signals_t& signals, std::uint64_t parent) {
        if (pick_.once_in(3)) {
            const std::uint64_t id = add(
                "lut2d", parent, 2, 1,
                {{"bp1", "[0.0, 2.0]"}, {"bp2", "[-1.0, 0.5, 4.0]"}, {"out", "[[0.0, 1.0, -2.0], [3.0, 4.5, 9.0]]"}});
            for (int i = 0; i < 2; ++i) feed(signals, parent, id, i);
            return {id, 0, type_flt64, false};
        }
        const bool whole = pick_.once_in(2);
        const std::uint64_t id =
            add("lut1d", parent, 1, 1, {{"bp1", "[-3, 0, 5]"}, {"out", whole ? "[10, -20, 30]" : "[0.5, 1.5, -2.0]"}});
        feed(signals, parent, id, 0);
        return {id, 0, whole ? type_int32 : type_flt64, false};
    }
    /// Their output is flt64 whatever comes in, and runs of one type only.
    signal_t scaled(const signals_t& signals, std::uint64_t parent) {
        json parameters;
        for (const char* key : {"coeffA", "coeffB"}) parameters[key] = number();
        const unsigned kind = pick_.below(3);
        if (kind == 2) {
            parameters["lsb"] = std::to_string(pick_.below(8));
            parameters["msb"] = std::to_string(8 + pick_.below(23));
        }
        static constexpr std::array names{"lerp", "poly1st", "unpack"};
        const std::uint64_t id = add(names[kind], parent, 1, 1, std::move(parameters));
        feed_as(type_flt64, signals, parent, id, 0);
        return {id, 0, type_flt64, false};
    }
    signal_t wireless(const signals_t& signals, std::uint64_t parent) {
        const std::string target = "T" + std::to_string(last_id_);
        const signal_t& from = any(signals);
        link(from, add("goto", parent, 1, 0, {{"target", target}}), 0);
        return {add("from", parent, 0, 1, {{"target", target}}), 0, from.type, from.remembered};
    }
    void sink(const signals_t& signals, std::uint64_t parent) {
        const std::uint64_t id = add(pick_.once_in(2) ? "display" : "to_workspace", parent, 1, 0);
        feed(signals, parent, id, 0);
    }

    // ---- levels
    void subsystem(signals_t& outer, std::uint64_t parent, unsigned depth) {
        const int inputs = static_cast<int>(pick_.below(4));
        const std::uint64_t id = add("subsys", parent, inputs, 0);
        signals_t inner;
        if (shape_.with_gates && pick_.once_in(2)) {
            add("enable", id, 1, 0);
            feed(outer, parent, id, -1);
        }
        for (int n = 0; n < inputs; ++n) {
            const type_t type = feed(outer, parent, id, n);
            inner.push_back({add("inport", id, 1, 1, {{"portNumber", n}}), 0, type, false});
        }
        level(id, inner, depth + 1);
        const int outputs = static_cast<int>(pick_.below(3));
        for (int n = 0; n < outputs; ++n) {
            const std::uint64_t out = add("outport", id, 1, 1, {{"portNumber", n}});
            outer.push_back({id, n, feed(inner, id, out, 0), false});
        }
    }
    /// A loop's memory: its output can be used before its input is there. The cast behind which it stands types both.
    signal_t memory(std::uint64_t parent, signals_t& loops) {
        loops.push_back({add("memory", parent, 1, 1), 0, any_type(), true});
        return loops.back();
    }
    void close(const signals_t& loops, const signals_t& signals, std::uint64_t parent) {
        signals_t feeders;
        for (const signal_t& s : signals)
            if (!s.remembered) feeders.push_back(s);
        if (feeders.empty()) feeders.push_back(constant(parent));
        for (const signal_t& loop : loops) {
            const std::uint64_t cast = add("cast", parent, 1, 1, {{"type", short_name(loop.type)}});
            link(any(feeders), cast, 0);
            link({cast, 0, loop.type, false}, loop.id, 0);
        }
    }
    void level(std::uint64_t parent, signals_t& signals, unsigned depth) {
        signals_t loops;
        signals.push_back(source(parent));
        unsigned here = depth == 0 ? 1000 : 2 + pick_.below(8);
        while (here-- > 0 && left_ > 0) {
            switch (pick_.below(16)) {
                case 0: signals.push_back(source(parent)); break;
                case 1:
                case 2: signals.push_back(unary(signals, parent)); break;
                case 3:
                case 4: signals.push_back(flag(signals, parent)); break;
                case 5: signals.push_back(arithmetic(signals, parent)); break;
                case 6: signals.push_back(quotient(signals, parent)); break;
                case 7: signals.push_back(pair(signals, parent)); break;
                case 8: signals.push_back(choice(signals, parent)); break;
                case 9: signals.push_back(clamp(signals, parent)); break;
                case 10: signals.push_back(accumulator(signals, parent)); break;
                case 11: signals.push_back(pick_.once_in(2) ? table(signals, parent) : scaled(signals, parent)); break;
                case 12: signals.push_back(wireless(signals, parent)); break;
                case 13: signals.push_back(memory(parent, loops)); break;
                case 14: sink(signals, parent); break;
                default:
                    if (depth < shape_.depth) subsystem(signals, parent, depth);
            }
        }
        close(loops, signals, parent);
        sink(signals, parent);
    }

    Choices& pick_;
    unsigned left_;
    random_model_t shape_;
    json file_;
    std::uint64_t last_id_ = 100;
};

}  // namespace

void prepare_bridge() {
    auto& bridge = python::literal_bridge();
    bridge.clear();
    bridge.set_series(random_series, {-1.0, 0.0, 0.3, 2.0, 2.0}, {0.5, -1.0, 70000.0, 3.0, -4.25});
}

nlohmann::json random_model(Choices& choices, const random_model_t& shape) { return Writer(choices, shape).take(); }

}  // namespace tessel::test
