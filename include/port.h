// A port of a block at design level.
#pragma once

#include <cstdint>

#include "IMetaBlock.h"
#include "core/type.h"

namespace tessel {

/// One input or output of a meta block: its data type and, on an input, the output that feeds it. Ports stay where
/// they are once links exist, since inputs point at the output ports of other blocks.
class port_t {
public:
    virtual ~port_t() = default;
    /// Whether the type is known.
    virtual bool has_type() const noexcept { return type_ != type_unknown; }
    /// Short name of the type ("flt64"), null while it is unknown.
    virtual const char* type_name() const noexcept { return short_name(type_); }
    /// C spelling of the type ("double"), null while it is unknown.
    virtual const char* c_type_name() const noexcept { return c_name(type_); }
    virtual type_t type() const noexcept { return type_; }
    /// The block that feeds this input, null when none does.
    virtual IMetaBlock* source_block() const noexcept { return source_block_; }
    /// That block's output port.
    virtual port_t* source_port() const noexcept { return source_port_; }
    /// Index of that output port in its block.
    virtual std::int16_t source_index() const noexcept { return source_index_; }
    /// Stores the type only while it is unknown.
    virtual void set_type_if_unset(type_t type) noexcept {
        if (type_ == type_unknown) type_ = type;
    }
    virtual void set_type(type_t type) noexcept { type_ = type; }
    /// Feeds this input from output `index` of `block`.
    virtual void link(IMetaBlock* block, std::int16_t index) {
        source_block_ = block;
        source_port_ = block->output(index);
        source_index_ = index;
    }

private:
    // the small ones side by side: a model has two or three ports a block
    type_t type_ = type_unknown;
    std::int16_t source_index_ = 0;
    IMetaBlock* source_block_ = nullptr;
    port_t* source_port_ = nullptr;
};

}  // namespace tessel
