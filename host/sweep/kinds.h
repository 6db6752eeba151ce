// The models that the variants of a sweep come to: one for each set of types and sizes.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "exec/ensemble/lower.h"
#include "host/session/session.h"
#include "host/sweep/answers.h"
#include "host/sweep/lanes.h"

namespace zarn {

/// What of a model varies, and its program.
struct lane_program_t {
    std::vector<tessel::ensemble::place_t> places;
    tessel::ensemble::program_t program;
};

/// A parameter of a block that varies under the block's path.
struct own_parameter_t {
    std::size_t name = 0;  ///< among those that vary
    std::uint64_t block = 0;
    std::string key;
};

/// A signal by its block.
struct watched_t {
    std::uint64_t block = 0;
    bool input = false;
};

/// What a variant makes of the blocks that can differ.
struct variant_t {
    std::vector<double> values;
    std::string refused;  ///< why a block cannot have them
    std::string shape;    ///< types and sizes: variants of one shape run side by side
    std::vector<tessel::formula_t> formulas;
};

/// One compiled model of a sweep. What it does with the bridge, it does for the variant that the bridge is set to.
class Kind {
public:
    Kind(std::unique_ptr<Session> session, VariantBridge& bridge, std::span<const own_parameter_t> own,
         std::span<const watched_t> watched);

    Session& session() { return *session_; }
    const lane_model_t& lanes() const { return lanes_; }

    /// The blocks of a variant.
    variant_t make(std::vector<double> values);
    /// The program for variants of the kind's own shape, and their values at its places.
    std::shared_ptr<const lane_program_t> place(std::span<const variant_t* const> variants,
                                                std::vector<std::uint64_t>& values);

private:
    struct affected_t {
        std::size_t member;
        std::unique_ptr<tessel::IMetaBlock> copy;  // null where each variant takes a new one
        std::vector<own_parameter_t> own;
    };
    std::unique_ptr<tessel::IMetaBlock> copy_of(std::size_t member) const;
    void find_affected();
    void set_own(tessel::IMetaBlock& block, const std::vector<own_parameter_t>& own,
                 const std::vector<double>& values) const;

    std::unique_ptr<Session> session_;
    VariantBridge& bridge_;
    std::vector<own_parameter_t> own_;
    lane_model_t lanes_;
    std::vector<affected_t> affected_;
    std::vector<tessel::ensemble::signal_t> signals_;
    std::vector<tessel::ensemble::place_t> places_;
    std::shared_ptr<const lane_program_t> program_;
};

}  // namespace zarn
