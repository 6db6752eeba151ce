// The facts beside the entries are those that the classes show: each is tried on a block, where a block can tell.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "PropertiesBlock.h"
#include "core/hash.h"
#include "core/python.h"
#include "factory.h"
#include "host/reference/reference.h"
#include "port.h"

namespace zarn {
namespace {

using tessel::block_traits_t;
using tessel::IMetaBlock;
using tessel::var_t;
namespace factory = tessel::factory;

/// A bridge that notes the scope of each expression and answers all with 1.0.
class NotingBridge final : public python::IPythonWrap {
public:
    std::vector<std::string> asked;

    std::shared_ptr<python::ISeries> find_series(const char*) override { return nullptr; }
    void set_array(std::string_view, const double*, std::int32_t) override {}
    void set_attribute(std::string_view, std::string_view, double) override {}
    tessel::result_t evaluate_array(std::string_view scope, std::string_view text,
                                    python::var_array_t& array) override {
        asked.emplace_back(scope);
        array.values = {var_t(0.0), var_t(1.0)};
        array.dimensions = {2, 1};
        if (text.starts_with("[[")) array.dimensions = {2, 2}, array.values.assign(4, var_t(1.0));
        return tessel::result_ok;
    }
    tessel::result_t evaluate(std::string_view scope, std::string_view, var_t* value) override {
        asked.emplace_back(scope);
        *value = var_t(1.0);
        return tessel::result_ok;
    }
    void assign(std::string_view, std::string_view) override {}
};

class Traits : public testing::Test {
protected:
    Traits() : before_(python::wrap()) { python::set_wrap(&bridge_); }
    ~Traits() override { python::set_wrap(before_); }

    /// The requests of one call of calculate_type, with inputs fed by nothing.
    std::vector<std::string> ask(IMetaBlock& block) {
        bridge_.asked.clear();
        block.calculate_type();
        return bridge_.asked;
    }

    NotingBridge bridge_;
    python::IPythonWrap* before_;
};

std::unique_ptr<IMetaBlock> make(const class_row_t& row) {
    auto properties = std::make_shared<tessel::PropertiesBlock>();
    properties->inportCount = 2;
    properties->python_path = "p";
    return factory::create(row.name, properties);
}

TEST_F(Traits, ScopesAreThoseOfTheRequests) {
    for (const class_row_t& row : factory::class_rows()) {
        std::multiset<std::string> scopes;
        for (const auto& parameter : row.traits().parameters)
            if (parameter.content == tessel::content_t::value || parameter.content == tessel::content_t::list)
                scopes.insert(std::string("p") + parameter.scope);
        const auto block = make(row);
        const auto asked = ask(*block);
        EXPECT_EQ(std::multiset<std::string>(asked.begin(), asked.end()), scopes) << row.name;
    }
}

// one call types a block without inputs, but for a constant whose expression has no type
TEST_F(Traits, ClassesWithInputsAskEachTimeWhereTheyAsk) {
    for (const class_row_t& row : factory::class_rows()) {
        const auto block = make(row);
        const bool asks = !ask(*block).empty();
        const bool again = block->input_count() != 0 || std::string_view(row.name) == "constant";
        EXPECT_EQ(asks && again, row.traits().asks_each_time) << row.name;
    }
}

TEST_F(Traits, TheFirstParameterDecidesWhereItIsSaid) {
    for (const class_row_t& row : factory::class_rows()) {
        const auto& parameters = row.traits().parameters;
        if (parameters.size() < 2 || parameters.front().content != tessel::content_t::value) continue;
        const auto block = make(row);
        block->param(parameters.front().key) = var_t(1);
        EXPECT_EQ(ask(*block).empty(), row.traits().first_decides) << row.name;
    }
}

TEST_F(Traits, OutputsHaveTheTypeThatIsSaid) {
    for (const class_row_t& row : factory::class_rows()) {
        if (row.traits().typed_as == tessel::type_unknown) continue;
        if (row.traits().parameters.front().content == tessel::content_t::series) continue;  // has none here
        const auto block = make(row);
        block->calculate_type();
        EXPECT_EQ(block->output(0)->type(), row.traits().typed_as) << row.name;
    }
}

TEST_F(Traits, ZonesAreThoseThatAreSaid) {
    for (const class_row_t& row : factory::class_rows()) {
        const auto source = factory::create("abs");
        const auto block = make(row);
        for (std::uint64_t i = 0; i < block->input_count(); ++i)
            block->input(static_cast<std::int16_t>(i))->link(source.get(), 0);
        block->calculate_zone();
        EXPECT_EQ(block->zone() == 0, row.traits().steps_first) << row.name;
    }
}

TEST_F(Traits, KeywordsAreThoseThatAreTaken) {
    for (const class_row_t& row : factory::class_rows())
        for (const auto& parameter : row.traits().parameters) {
            if (parameter.content != tessel::content_t::word) continue;
            bool has_default = false;
            std::set<tessel::type_t> types;
            for (const tessel::word_t& word : parameter.words) {
                const auto block = make(row);
                block->param(parameter.key) = var_t(word.word);
                EXPECT_EQ(block->calculate_type(), tessel::result_ok) << row.name << ' ' << word.word;
                types.insert(block->output(0)->type());
                has_default = has_default || std::string_view(word.word) == parameter.value;
            }
            EXPECT_TRUE(has_default) << row.name;
            // of a cast, each names another type
            EXPECT_TRUE(types.size() == 1 || types.size() == parameter.words.size()) << row.name;
        }
}

TEST_F(Traits, PortsHaveNames) {
    for (const class_row_t& row : factory::class_rows()) {
        const block_traits_t& traits = row.traits();
        std::size_t most = 0;
        for (const auto& signature : row.entry->accepted) most = std::max<std::size_t>(most, signature.inputs);
        EXPECT_TRUE(row.entry->accepted.empty() || traits.inputs.size() == most) << row.name;
        EXPECT_TRUE(traits.output_count < 0 || static_cast<int>(traits.outputs.size()) == traits.output_count)
            << row.name;
        std::set<std::string> names;
        for (const auto& port : traits.inputs) EXPECT_TRUE(names.insert(port.name).second) << row.name;
    }
}

TEST_F(Traits, CaptionsNameParameters) {
    for (const class_row_t& row : factory::class_rows()) {
        const block_traits_t& traits = row.traits();
        if (traits.caption == nullptr) continue;
        std::string_view caption = traits.caption;
        for (auto at = caption.find('{'); at != std::string_view::npos; at = caption.find('{')) {
            const std::string key(caption.substr(at + 1, caption.find('}') - at - 1));
            EXPECT_TRUE(std::ranges::any_of(traits.parameters, [&](const auto& p) { return key == p.key; }))
                << row.name << ' ' << key;
            caption.remove_prefix(caption.find('}') + 1);
        }
        EXPECT_TRUE(traits.icon == tessel::icon_t::none) << row.name << " has an icon in place of a caption";
    }
}

TEST_F(Traits, EveryClassHasEverydayNames) {
    for (const class_row_t& row : factory::class_rows()) {
        EXPECT_NE(row.traits().everyday.size(), 0u) << row.name;
        for (const char* name : row.traits().everyday) EXPECT_FALSE(classes_called(name).empty()) << name;
    }
    const auto called = [](std::string_view word) {
        std::vector<std::string> names;
        for (const class_row_t* row : classes_called(word)) names.emplace_back(row->name);
        return names;
    };
    EXPECT_THAT(called("gain"), testing::ElementsAre("multiply", "poly1st"));
    EXPECT_THAT(called("Unit-Delay"), testing::ElementsAre("memory"));
    EXPECT_THAT(called("delay"), testing::ElementsAre("memory"));
    EXPECT_THAT(called("subsys"), testing::ElementsAre("subsys"));
    EXPECT_THAT(called(""), testing::IsEmpty());
    EXPECT_THAT(called("nothing of the kind"), testing::IsEmpty());
}

TEST_F(Traits, TypesInWords) {
    const auto words = [](const char* name) {
        return types_in_words(*factory::find_class(tessel::class_hash_of(name)));
    };
    using testing::ElementsAre;
    EXPECT_THAT(words("add"),
                ElementsAre("u0: any type", "u1: any type", "u2: any type", "y: highest type among the inputs"));
    EXPECT_THAT(words("acc"), ElementsAre("u: any type", "reset value: type of u", "reset: bool", "y: type of u"));
    EXPECT_THAT(words("if"), ElementsAre("condition: bool", "then: any type", "else: type of then", "y: type of then"));
    EXPECT_THAT(words("mod"),
                ElementsAre("u0: any type but bool", "u1: any type but bool", "y: highest type among the inputs"));
    EXPECT_THAT(words("clamp"), ElementsAre("u: any type", "lo: any type not ranked above that of u",
                                            "hi: any type not ranked above that of u", "y: type of u"));
    EXPECT_THAT(words("step"), ElementsAre("y: flt64"));
    EXPECT_THAT(words("display"), ElementsAre("u: any type"));
    EXPECT_TRUE(words("goto").empty());
}

TEST(Formulas, OfClassesAsTheyRun) {
    const auto formula = [](const char* name) { return formula_of(*factory::find_class(tessel::class_hash_of(name))); };
    using testing::ElementsAre;
    EXPECT_THAT(formula("add"), ElementsAre("y = u0 + u1"));
    EXPECT_THAT(formula("clamp"), ElementsAre("y = u > hi ? hi : lo > u ? lo : u"));
    EXPECT_THAT(formula("delta"), ElementsAre("last' = u", "y = u - last"));
    EXPECT_TRUE(formula("goto").empty()) << "it is gone before a model runs";
    for (const class_row_t& row : factory::class_rows()) {
        const bool reads = std::string_view(row.name) == "from_workspace";  // its values are the workspace's
        const bool computes = !row.entry->accepted.empty() && row.traits().output_count > 0 && !reads;
        EXPECT_TRUE(!computes || !formula_of(row).empty()) << row.name;
    }
}

}  // namespace
}  // namespace zarn
