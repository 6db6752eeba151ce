#include <gtest/gtest.h>

#include "ExecBlock.h"
#include "IExecModel.h"
#include "IMetaModel.h"
#include "PropertiesModel.h"
#include "factory.h"

namespace tessel {
namespace {

// Two disconnected displays of nothing: an input without a source stops the compile.
TEST(Compile, InputWithoutSource) {
    auto model = create_empty_meta_model();
    model->set_properties(std::make_shared<PropertiesModel>());
    model->add_block(factory::create("display"));
    EXPECT_EQ(model->compile(), result_source_missing);
}

TEST(Compile, EmptyModel) {
    auto model = create_empty_meta_model();
    model->set_properties(std::make_shared<PropertiesModel>());
    EXPECT_EQ(model->compile(), result_ok);
    auto exec = create_empty_exec_model();
    model->build_exec(exec.get());
    EXPECT_EQ(exec->run(), result_ok);
}

}  // namespace
}  // namespace tessel
