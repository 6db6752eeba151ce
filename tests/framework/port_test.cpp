#include "port.h"

#include <gtest/gtest.h>

#include "factory.h"

namespace tessel {
namespace {

TEST(Port, Defaults) {
    const port_t port;
    EXPECT_FALSE(port.has_type());
    EXPECT_EQ(port.type(), type_unknown);
    EXPECT_EQ(port.type_name(), nullptr);
    EXPECT_EQ(port.c_type_name(), nullptr);
    EXPECT_EQ(port.source_block(), nullptr);
    EXPECT_EQ(port.source_port(), nullptr);
    EXPECT_EQ(port.source_index(), 0);
}

TEST(Port, SetTypeIfUnsetLeavesATypedPortAlone) {
    port_t port;
    port.set_type_if_unset(type_int16);
    EXPECT_TRUE(port.has_type());
    EXPECT_STREQ(port.type_name(), "int16");
    EXPECT_STREQ(port.c_type_name(), "short");
    port.set_type_if_unset(type_flt64);
    EXPECT_EQ(port.type(), type_int16);
    port.set_type(type_flt64);
    EXPECT_EQ(port.type(), type_flt64);
    port.set_type(type_unknown);
    EXPECT_FALSE(port.has_type());
}

TEST(Port, NumbersThatAreNoTypeHaveNoName) {
    port_t port;
    for (const int number : {2, 13}) {
        port.set_type(static_cast<type_t>(number));
        EXPECT_EQ(port.type_name(), nullptr);
        EXPECT_EQ(port.c_type_name(), nullptr);
    }
}

TEST(Port, LinkStoresTheBlockItsPortAndTheIndex) {
    auto properties = std::make_shared<PropertiesBlock>();
    properties->outportCount = 3;
    const auto source = factory::create("enable", properties);
    port_t port;
    port.link(source.get(), 2);
    EXPECT_EQ(port.source_block(), source.get());
    EXPECT_EQ(port.source_port(), source->output(2));
    EXPECT_EQ(port.source_index(), 2);
    EXPECT_FALSE(port.has_type());
}

}  // namespace
}  // namespace tessel
