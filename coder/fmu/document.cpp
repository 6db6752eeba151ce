#include "coder/fmu/document.h"

#include <string_view>

#include "coder/fmu/xml.h"
#include "core/format.h"

namespace tessel::fmu {
namespace {

constexpr std::string_view style =
    "body{font:15px/1.5 sans-serif;margin:2em auto;max-width:60em;padding:0 1em}table{border-collapse:collapse}"
    "td,th{border-bottom:1px solid #ccc;padding:.2em .8em;text-align:left}img{max-width:100%}code{font-size:90%}";

/// A few hundred are read; more are looked up in the description.
constexpr std::size_t longest_list = 500;

void write_rows(std::string& page, const exact::unit_t& unit, const interface_t& interface, causality_t causality,
                std::string_view title) {
    std::size_t count = 0;
    for (const variable_t& v : interface.variables) count += v.causality == causality;
    if (count == 0) return;
    const bool has_start = causality == causality_t::input || causality == causality_t::parameter;
    page += format("<h2>{}</h2>\n<table>\n<tr><th>name</th><th>type</th><th>unit</th>{}<th>what</th></tr>\n", title,
                   has_start ? "<th>start</th>" : "");
    std::size_t shown = 0;
    for (const variable_t& v : interface.variables) {
        if (v.causality != causality || shown++ >= longest_list) continue;
        const exact::cell_t& cell = unit.cell(v.cell);
        const bool is_table = cell.role == exact::role_t::table;
        const std::string start =
            is_table ? format("{} values", cell.values.size()) : escaped(value_text(v.type, cell.initial));
        page += format("<tr><td><code>{}</code></td><td>{}</td><td>{}</td>{}<td>{}</td></tr>\n", escaped(v.name),
                       short_name(v.type), escaped(v.unit), has_start ? format("<td>{}</td>", start) : "",
                       escaped(v.description));
    }
    page += "</table>\n";
    if (count > longest_list) page += format("<p>And {} more.</p>\n", count - longest_list);
}

}  // namespace

std::string write_document(const exact::unit_t& unit, const interface_t& interface, bool has_picture) {
    const std::string name = escaped(unit.name);
    std::string page = format(
        "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n<title>{}</title>\n"
        "<style>{}</style>\n</head>\n<body>\n<h1>{}</h1>\n",
        name, style, name);
    if (!unit.model.empty()) page += format("<p>The block diagram <code>{}</code>.</p>\n", escaped(unit.model));
    page += format(
        "<p>Co-simulation with a fixed step of {} s, from {} s on. A communication step is an integer multiple of it. "
        "Outputs follow inputs without delay in Initialization Mode; a step computes with the inputs set before "
        "it.</p>\n",
        number_text(unit.ts), number_text(unit.ti));
    if (has_picture) page += "<p><img src=\"diagram.svg\" alt=\"The diagram\"></p>\n";
    write_rows(page, unit, interface, causality_t::input, "Inputs");
    write_rows(page, unit, interface, causality_t::output, "Outputs");
    write_rows(page, unit, interface, causality_t::parameter, "Parameters");
    write_rows(page, unit, interface, causality_t::local, "Signals");
    return page + "</body>\n</html>\n";
}

}  // namespace tessel::fmu
