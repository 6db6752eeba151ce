#include "coder/fmu/package.h"

#define XXH_INLINE_ALL
#include <xxhash.h>

#include <utility>

#include "coder/fmu/description.h"
#include "coder/fmu/document.h"
#include "coder/fmu/texts.h"
#include "coder/fmu/wrapper.h"
#include "core/format.h"

namespace tessel::fmu {
namespace {

/// What two FMUs with one token have in common: meaning, generator, and every line of the code with its numbers.
std::string token_of(const exact::unit_t& unit, const package_options_t& options,
                     const std::vector<exact::text_file_t>& code) {
    std::string all = format("{}\n{}\n{}\n", unit.meaning, options.generator, static_cast<int>(options.version));
    all += options.all_signals ? "all\n" : "ports\n";
    for (const exact::text_file_t& file : code) all += file.text;
    const XXH128_hash_t hash = XXH3_128bits(all.data(), all.size());
    const std::string digits = format("{:016x}{:016x}", hash.high64, hash.low64);
    return format("{{{}-{}-{}-{}-{}}}", digits.substr(0, 8), digits.substr(8, 4), digits.substr(12, 4),
                  digits.substr(16, 4), digits.substr(20));
}

/// The names that begin as those of the functions and types around the model do.
void require_free(const std::string& name) {
    for (const char* taken : {"fmu", "fmi"})
        if (name.starts_with(taken))
            throw exact::Refusal(format(
                "{}: names that begin with \"{}\" are those of the interface; take another with --name", name, taken));
}

}  // namespace

package_t make_package(const exact::unit_t& unit, const package_options_t& options) {
    require_free(unit.name);
    package_t package;
    package.name = unit.name;
    package.version = options.version;
    package.interface = make_interface(unit, options.version, options.all_signals);
    const std::vector<exact::text_file_t> code = exact::write_c(unit);
    package.token = token_of(unit, options, code);
    package.sources.push_back(write_wrapper(unit, package.interface, package.token, options.generator));
    package.sources.insert(package.sources.end(), code.begin(), code.end());
    package.headers = interface_headers(options.version);

    files_t& files = package.files;
    files["modelDescription.xml"] = write_description(unit, package.interface, package.token, options.generator);
    for (const exact::text_file_t& source : package.sources) files["sources/" + source.name] = source.text;
    if (options.version == version_t::three) files["sources/buildDescription.xml"] = write_build_description(unit);
    files["documentation/index.html"] = write_document(unit, package.interface, !options.picture.empty());
    if (!options.picture.empty()) files["documentation/diagram.svg"] = options.picture;
    files["documentation/licenses/license.txt"] = texts::c::license_txt;
    return package;
}

}  // namespace tessel::fmu
