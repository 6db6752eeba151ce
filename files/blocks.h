// The blocks of a model file, read without a document.
#pragma once

#include <memory>
#include <string_view>

#include "IMetaBlock.h"

namespace tessel::json {

/// Reads elements of "blocks" one after the other.
class BlockReader {
public:
    BlockReader();
    ~BlockReader();

    /// The block that an element makes by `factory::create` and `IMetaBlock::import_json`. Empty for an element that
    /// holds anything unusual: several members, a key twice, a value of another kind than a file from this library has,
    /// or text that is no JSON. What becomes of that is up to the document. `padding` bytes behind the element must be
    /// readable.
    std::unique_ptr<IMetaBlock> read(std::string_view element);

private:
    struct state_t;
    std::unique_ptr<state_t> state_;
};

}  // namespace tessel::json
