// What several passes share.
#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "IMetaBlock.h"
#include "core/large_array.h"
#include "model/rules/blocks.h"

namespace tessel {

using blocks_t = std::vector<std::unique_ptr<IMetaBlock>>;

/// The blocks of a list as the rules take them.
inline large_array<IMetaBlock*> line_up(const blocks_t& blocks) {
    large_array<IMetaBlock*> all;
    all.reserve(blocks.size());
    for (const auto& block : blocks) all.push_back(block.get());
    return all;
}

/// Logs the entry into a pass, and the way out of it at whichever exit.
class PassLog {
public:
    explicit PassLog(std::string_view name);
    PassLog(const PassLog&) = delete;
    PassLog& operator=(const PassLog&) = delete;
    ~PassLog();

private:
    std::string_view name_;
};

}  // namespace tessel
