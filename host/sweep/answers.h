// What the workspace answers for a variant.
#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/python.h"

namespace zarn {

/// Stands before the workspace's bridge while some of its names vary. A question in which none of them can take part is
/// asked once; one that is a name alone is answered without asking; all others are asked anew for each variant, with
/// the names bound to its values.
class VariantBridge final : public python::IPythonWrap {
public:
    /// `whole`: of each name, whether all its values are whole numbers: they are integers then, unless the workspace
    /// holds a float under that name.
    VariantBridge(std::shared_ptr<python::IPythonWrap> bridge, std::vector<std::string> names, std::vector<bool> whole);

    /// From here on questions are those of a variant.
    void set(std::vector<double> values);
    /// The workspace as it was.
    void reset();
    /// How many questions so far could have another answer for another variant: a block whose questions add none is the
    /// same for all.
    std::size_t varying() const noexcept { return varying_; }
    /// Types and sizes of the answers since the last call, in the order of the questions.
    std::string take_shape();
    /// A value as the workspace would be told it.
    std::string text_of(std::size_t name, double value) const;

    std::shared_ptr<python::ISeries> find_series(const char* expression) override;
    void set_array(std::string_view name, const double* values, std::int32_t count) override;
    void set_attribute(std::string_view object, std::string_view key, double value) override;
    tessel::result_t evaluate_array(std::string_view name, std::string_view text, python::var_array_t& array) override;
    tessel::result_t evaluate(std::string_view scope, std::string_view text, tessel::var_t* result) override;
    void assign(std::string_view name, std::string_view expression) override;

private:
    using key_t = std::pair<std::string, std::string>;
    struct name_t {
        std::string name;
        bool integer = false;  // as which the workspace is told it
        tessel::var_t base;
        bool there = false;  // in the workspace from the start
    };
    struct question_t {
        bool varies = false;
        std::size_t name = none;  // that it is, alone
        tessel::var_t answer;
    };
    static constexpr std::size_t none = static_cast<std::size_t>(-1);

    bool can_vary(std::string_view text) const;
    question_t& know(std::string_view scope, std::string_view text);
    tessel::var_t value_of(std::size_t name) const;
    void bind();
    bool is_answered_by(std::string_view scope, std::string_view text, std::size_t name);

    std::shared_ptr<python::IPythonWrap> bridge_;
    std::vector<name_t> names_;
    std::map<key_t, question_t> questions_;
    std::vector<double> values_;  // of the variant at hand; empty for none
    bool bound_ = true;           // whether the workspace has them
    std::size_t varying_ = 0;
    std::string shape_;
};

}  // namespace zarn
