#include "host/diagnose/values.h"

#include <algorithm>
#include <array>
#include <functional>
#include <limits>
#include <type_traits>

#include "PropertiesModel.h"
#include "core/convert.h"
#include "host/diagnose/everyday.h"
#include "host/diagnose/nearest.h"
#include "host/diagnose/source.h"

namespace zarn {
namespace {

using nlohmann::json;
using reader_t = std::function<void(const json&)>;

constexpr std::array block_keys{"name",         "id",       "parent", "inportCount",
                                "outportCount", "geometry", "bg",     "backgroundColor"};

constexpr const char* mend_id = "write the id in decimal digits, without sign and fraction";

/// Whether `read` takes an object that holds this one member alone.
bool readable(const std::string& key, const json& value, const reader_t& read) {
    try {
        json one = json::object();
        one[key] = value;
        read(one);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

/// The first member of an object that is no number, "" when there is none.
std::string first_odd_member(const json& object) {
    if (!object.is_object()) return {};
    for (const auto& [key, value] : object.items())
        if (!value.is_number() && !value.is_boolean()) return key;
    return {};
}

/// The first element of an array that is no point.
std::size_t first_odd_point(const json& array) {
    std::size_t i = 0;
    while (i < array.size() && array[i].is_object() && first_odd_member(array[i]).empty()) ++i;
    return i;
}

/// The checks of one object: a block, a link or the settings.
class Values {
public:
    Values(Report& report, const json& object, std::size_t file, std::string pointer, severity_t weight)
        : report_(report), object_(object), file_(file), pointer_(std::move(pointer)), weight_(weight) {}

    /// Names the block that the findings are about, until its path is known.
    void about(const tessel::class_row_t& row) {
        row_ = &row;
        const auto name = object_.find("name");
        name_ = name != object_.end() && name->is_string() ? name->get<std::string>() : "";
    }

    finding_id tell(const char* code, severity_t severity, const std::string& place, std::string what,
                    std::string mend) {
        const finding_id id =
            report_.at_place(code, severity, file_, pointer_ + place, std::move(what), std::move(mend));
        if (row_ != nullptr) {
            report_[id].path = "?." + name_;
            report_[id].block_class = row_->name;
        }
        return id;
    }

    /// A value of another kind than its key needs.
    void tell_kind(const std::string& key, const json& value) {
        if (key == "breakpoints" && value.is_array() && first_odd_point(value) < value.size()) {
            const std::size_t odd = first_odd_point(value);
            tell("Z106", weight_, segment(key) + segment(odd),
                 tessel::format("element {} of \"{}\" is {}, but must be a point", odd, key,
                                value[odd].is_object() ? "no object of numbers" : kind_of(value[odd])),
                 "write an object with the numbers \"x\" and \"y\"");
            return;
        }
        const std::string inner = first_odd_member(value);
        const json& at = inner.empty() ? value : value[inner];
        const char* wanted = inner.empty() ? wanted_kind(key) : "a number";
        tell("Z106", weight_, segment(key) + (inner.empty() ? "" : segment(inner)),
             tessel::format("\"{}{}{}\" is {}, but must be {}", key, inner.empty() ? "" : ".", inner, kind_of(at),
                            wanted),
             tessel::format("write {} there, or leave the key out", wanted));
    }

    /// A number that a field of type T cannot hold as it is written. Returns what the field gets.
    template <class T>
    T check_integer(const std::string& key, const json& value, const char* mend) {
        if (!value.is_number()) return T{};
        T held{};
        bool same = false;
        if (value.is_number_float()) {
            held = tessel::convert<T>(value.get<double>());
            same = static_cast<double>(held) == value.get<double>();
        } else {
            held = value.get<T>();
            same = value.is_number_unsigned() ? std::cmp_equal(held, value.get<std::uint64_t>())
                                              : std::cmp_equal(held, value.get<std::int64_t>());
        }
        if (!same)
            tell("Z107", severity_t::warning, segment(key),
                 tessel::format("\"{}\" is {}, which is read as {}", key, value.dump(), held), mend);
        return held;
    }

    /// A port index: 16 bits, for which 65535 is as good as -1.
    void check_port(const std::string& key, const json& value) {
        constexpr const char* mend = "write the index of the port, from 0, or -1 for a subsystem's enable input";
        const int index = check_integer<int>(key, value, mend);
        if (index >= -32768 && index <= 65535) return;
        tell("Z107", severity_t::warning, segment(key),
             tessel::format("\"{}\" is {}, which is read as {}", key, index, static_cast<std::int16_t>(index)), mend);
    }

    /// A number of inputs that the library refuses.
    bool check_port_count() {
        const auto found = object_.find("inportCount");
        if (found == object_.end() || !found->is_number()) return false;
        const int count = check_integer<int>("inportCount", *found, "write the number of inputs that the block has");
        if (count >= 0 && count <= most_ports) return false;
        tell("Z115", weight_, "/inportCount",
             tessel::format("\"inportCount\" is {}, and a block has 0 to {} inputs", count, most_ports),
             "write the number of inputs that the block has, at most 8");
        return true;
    }

    /// Keys that mean nothing, and numbers that their fields cannot hold.
    void check_keys() {
        std::vector<std::string> known(block_keys.begin(), block_keys.end());
        for (const auto& parameter : row_->traits().parameters) known.emplace_back(parameter.key);
        check_names(known, row_->name);
        check_members("geometry", {"x", "y", "width", "height", "rotation"});
        for (const char* color : {"bg", "backgroundColor"}) check_members(color, {"red", "green", "blue", "alpha"});
        for (const auto& [key, value] : object_.items()) {
            if (key == "id" || key == "parent") {
                check_integer<std::uint64_t>(key, value, mend_id);
            } else if (is_parameter(key)) {
                check_integer<int>(key, value, "write the number as a text, in quotes");
            }
        }
    }

    /// Parameters for which a default stands in although it looks as if all were written.
    void check_defaults() {
        std::string missing, values;
        std::size_t count = 0, keywords = 0, given = 0;
        for (const tessel::parameter_traits_t& parameter : row_->traits().parameters) {
            if (object_.contains(parameter.key)) {
                ++given;
                continue;
            }
            if (parameter.value == nullptr || std::string_view(parameter.value) == "0.0") continue;  // adds nothing
            missing += tessel::format("{}\"{}\"", count == 0 ? "" : ", ", parameter.key);
            values += tessel::format("{}{}", count == 0 ? "" : ", ", parameter.value);
            ++count;
            if (parameter.content == tessel::content_t::word) ++keywords;
        }
        if (count == 0 || (given == 0 && keywords == 0)) return;
        tell("Z125", severity_t::note, "",
             tessel::format("{} {} missing, and {} {} in", missing, count == 1 ? "is" : "are", values,
                            count == 1 ? "stands" : "stand"),
             "write what is meant");
    }

    /// Keys that nobody reads. `owner` is what the object is, for messages.
    void check_names(const std::vector<std::string>& known, std::string_view owner) {
        for (const auto& [key, value] : object_.items())
            if (std::ranges::find(known, key) == known.end()) tell_unread(key, "", object_, known, owner);
    }

    /// The same in an object inside this one.
    void check_members(const char* key, const std::vector<std::string>& known) {
        const auto found = object_.find(key);
        if (found == object_.end() || !found->is_object()) return;
        for (const auto& [inner, value] : found->items())
            if (std::ranges::find(known, inner) == known.end()) tell_unread(inner, key, *found, known, key);
    }

    /// The object without the values that `read` refuses.
    json without_refused(const reader_t& read, bool& refused) {
        json kept = object_;
        for (const auto& [key, value] : object_.items()) {
            if (readable(key, value, read)) continue;
            tell_kind(key, value);
            kept.erase(key);
            refused = true;
        }
        return kept;
    }

private:
    /// A slip is told with the key that is missing, a name from elsewhere with what it means here, any other as what
    /// an editor may have left for itself.
    void tell_unread(const std::string& key, const std::string& within, const json& object,
                     const std::vector<std::string>& known, std::string_view owner) {
        const std::string place = (within.empty() ? "" : segment(within)) + segment(key);
        std::string meant = everyday_key(
            key, known,
            row_ != nullptr && within.empty() ? row_->traits().parameters : decltype(row_->traits().parameters)());
        if (meant.empty()) meant = nearest_name(key, known);
        if (!meant.empty() && !object.contains(meant)) {
            tell("Z109", severity_t::warning, place,
                 tessel::format("the key \"{}\" means nothing here, and \"{}\" is missing", key, meant),
                 tessel::format("write \"{}\"", meant));
            return;
        }
        std::string list;
        for (const std::string& name : known) list += (list.empty() ? "\"" : ", \"") + name + "\"";
        tell("Z109", severity_t::note, place,
             tessel::format("the key \"{}\" means nothing in {}, and what stands under it is not read", key, owner),
             tessel::format("take it out; {} has the keys {}", owner, list));
    }

    bool is_parameter(const std::string& key) const {
        return row_ != nullptr && std::ranges::any_of(row_->traits().parameters,
                                                      [&key](const auto& parameter) { return key == parameter.key; });
    }

    const char* wanted_kind(const std::string& key) const {
        if (is_parameter(key)) return "a text or a number";
        if (key == "name" || key == "label") return "a text";
        if (key == "geometry" || key == "bg" || key == "backgroundColor") return "an object with numbers";
        if (key == "breakpoints") return "an array of points";
        return "a number";
    }

    Report& report_;
    const json& object_;
    std::size_t file_;
    std::string pointer_;
    severity_t weight_;
    const tessel::class_row_t* row_ = nullptr;
    std::string name_;
};

}  // namespace

const char* kind_of(const json& value) {
    switch (value.type()) {
        case json::value_t::object: return "an object";
        case json::value_t::array: return "an array";
        case json::value_t::string: return "a text";
        case json::value_t::boolean: return "true or false";
        case json::value_t::null: return "null";
        default: return "a number";
    }
}

json check_block_values(Report& report, const json& object, const tessel::class_row_t& row, std::size_t file,
                        const std::string& pointer, bool& refused, severity_t weight) {
    const auto read = [&row](const json& in) {
        tessel::PropertiesBlock properties;
        if (const auto* defaults = tessel::factory::defaults_of(row.name); defaults != nullptr)
            properties.parameters = *defaults;
        properties.import_json(in);
    };
    Values values(report, object, file, pointer, weight);
    values.about(row);
    values.check_keys();
    values.check_defaults();
    refused = values.check_port_count();
    json kept = object;
    try {
        read(kept);
    } catch (const std::exception&) {
        kept = values.without_refused(read, refused);
    }
    if (refused) kept.erase("inportCount");
    return kept;
}

json check_link_values(Report& report, const json& link, std::size_t file, const std::string& pointer, bool& refused,
                       severity_t weight) {
    const auto read = [](const json& one) {
        tessel::PropertiesModel properties;
        properties.import_json(json{{"links", json::array({one})}}, true);
    };
    if (!link.is_object()) {
        report.at_place("Z106", weight, file, pointer,
                        tessel::format("this link is {}, but must be an object", kind_of(link)),
                        "write an object with \"srcId\", \"dstId\", \"srcPort\" and \"dstPort\"");
        refused = true;
        return json::object();
    }
    refused = false;
    Values values(report, link, file, pointer, weight);
    values.check_names({"srcId", "dstId", "srcPort", "dstPort", "label", "breakpoints"}, "a link");
    json kept = values.without_refused(read, refused);
    for (const auto& [key, value] : kept.items()) {
        if (key == "srcId" || key == "dstId") values.check_integer<std::uint64_t>(key, value, mend_id);
        else if (key == "srcPort" || key == "dstPort") values.check_port(key, value);
    }
    return kept;
}

finding_id check_link_ends(Report& report, const json& link, std::size_t file, const std::string& pointer) {
    const bool source = link.contains("srcId"), target = link.contains("dstId");
    if (source && target) return none;
    const std::string missing = source ? "\"dstId\"" : target ? "\"srcId\"" : "\"srcId\" and no \"dstId\"";
    return report.at_place("Z122", severity_t::warning, file, pointer, "this link has no " + missing,
                           "write the ids of the blocks at its ends, or take the link out");
}

void check_file_keys(Report& report, const json& root, std::size_t file) {
    Values(report, root, file, "", severity_t::warning)
        .check_names({"blocks", "links", "model", "metadata", "comments"}, "a model file");
}

bool check_setting_values(Report& report, const json& settings, std::size_t file) {
    if (!settings.is_object()) {
        report.at_place("Z106", severity_t::error, file, "/model",
                        tessel::format("\"model\" is {}, but must be an object", kind_of(settings)),
                        "write an object with \"ti\", \"tf\" and \"ts\", or leave the key out");
        return false;
    }
    const auto read = [](const json& one) {
        tessel::PropertiesModel properties;
        properties.import_json(json{{"model", one}}, false);
    };
    bool refused = false;
    Values values(report, settings, file, "/model", severity_t::error);
    values.check_names({"ti", "tf", "ts"}, "\"model\"");
    values.without_refused(read, refused);
    return !refused;
}

}  // namespace zarn
