// Persistent data of one block.
#pragma once

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "ParameterMap.h"
#include "core/export.h"

namespace tessel {

using parameters_t = ParameterMap;

/// What a block is in a model file. `export_json` and `import_json` are the two directions of one block's JSON object.
class BLOCKS_API PropertiesBlock {
public:
    PropertiesBlock();
    PropertiesBlock(const PropertiesBlock& other);
    PropertiesBlock& operator=(const PropertiesBlock& other);
    ~PropertiesBlock();

    /// Writes into `out`, which is null or an object. "bg" is written only for an alpha above 0.
    void export_json(nlohmann::json& out) const;
    /// Reads an object. Keys may be absent; parameters that the map does not hold are ignored. Raises the JSON
    /// library's `type_error`.
    void import_json(const nlohmann::json& in);

    std::string name;
    std::string path;         ///< dotted path from the root, set by compile
    std::string python_path;  ///< the path as a Python scope, set by compile
    std::uint64_t id = 0;
    std::uint64_t parent = 0;
    float x = 0, y = 0, width = 0, height = 0, rotation = 0;  ///< canvas units, rotation in degrees
    float red = 0, green = 0, blue = 0, alpha = 0;
    bool reserved_flag = false;
    std::uint64_t inportCount = 0;
    std::uint64_t outportCount = 0;
    parameters_t parameters;
};

}  // namespace tessel
