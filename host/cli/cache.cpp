// zarn cache: what the native engine keeps.

#include <CLI/App.hpp>

#include "core/format.h"
#include "host/cli/command.h"
#include "host/cli/verbs.h"
#include "host/native/cache.h"
#include "host/session/json_text.h"

namespace zarn {
namespace {

struct cache_options_t {
    bool clear = false;
    bool json = false;
};

int show_cache(const cache_options_t& options) {
    native::Cache cache;
    const auto contents = options.clear ? cache.clear() : cache.contents();
    if (options.json) {
        out(tessel::format(
            "{{\"schema\": {}, \"result\": 0, \"folder\": {}, \"{}\": {}, \"bytes\": {}, \"limit\": {}}}\n",
            json_schema, json_string(cache.folder().string()), options.clear ? "removed" : "files", contents.files,
            contents.bytes, cache.limit()));
        return status_ok;
    }
    const double mebibyte = 1024.0 * 1024.0;
    out(tessel::format("{}\n{} compiled model{}{}, {:.1f} MiB of at most {:.0f}\n", cache.folder().string(),
                       contents.files, contents.files == 1 ? "" : "s", options.clear ? " removed" : "",
                       static_cast<double>(contents.bytes) / mebibyte, static_cast<double>(cache.limit()) / mebibyte));
    return status_ok;
}

}  // namespace

void add_cache(CLI::App& app, int& status) {
    auto options = std::make_shared<cache_options_t>();
    auto* verb = app.add_subcommand("cache", "Show or clear what the native engine keeps of compiled models");
    verb->add_flag("--clear", options->clear, "Remove all of it");
    verb->add_flag("--json", options->json, "Print one JSON object");
    verb->footer(
        "A model that was run with --engine native is compiled once; the folder keeps to its limit by itself.\n\n"
        "Example:\n  zarn cache --clear");
    verb->callback([options, &status] { status = guarded([&] { return show_cache(*options); }, {}, options->json); });
}

}  // namespace zarn
