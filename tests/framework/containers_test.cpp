// The containers of blocks and models against the standard's.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "EnableMap.h"
#include "ParameterMap.h"
#include "framework/PortList.h"

namespace tessel {
namespace {

using testing::ElementsAre;

std::vector<std::string> keys_of(const ParameterMap& map) {
    std::vector<std::string> keys;
    for (const auto& [key, parameter] : map) keys.push_back(key);
    return keys;
}

TEST(ParameterMap, IsFoundByKeyAndWalkedInTheOrderOfInsertion) {
    ParameterMap map;
    EXPECT_TRUE(map.empty());
    EXPECT_EQ(map.begin(), map.end());
    map["rise"] = {" [sec]", "1"};
    map["fall"].value = 2;
    map["rise"].value = 3;
    EXPECT_FALSE(map.empty());
    EXPECT_EQ(map.size(), 2u);
    EXPECT_THAT(keys_of(map), ElementsAre("rise", "fall"));
    EXPECT_STREQ(map.at("rise").suffix, " [sec]");
    EXPECT_STREQ(map.at("fall").suffix, "");
    EXPECT_EQ(map.find("fall")->second.value.payload<int>(), 2);
    EXPECT_TRUE(map.contains("fall"));
    EXPECT_FALSE(map.contains("fal"));
    EXPECT_EQ(map.find(""), map.end());
    EXPECT_THROW(map.at("none"), std::out_of_range);
    EXPECT_THROW(std::as_const(map).at("none"), std::out_of_range);
    EXPECT_EQ(map.size(), 2u);
}

TEST(ParameterMap, OfEqualKeysInAListTheFirstCounts) {
    const ParameterMap map{{"a", {"", 1}}, {"b", {"", 2}}, {"a", {"", 3}}};
    EXPECT_EQ(map.size(), 2u);
    EXPECT_EQ(map.at("a").value.payload<int>(), 1);
}

TEST(ParameterMap, ReferencesOutliveInsertions) {
    ParameterMap map;
    var_t& first = map["key 0"].value;
    for (int i = 1; i < 100; ++i) map["key " + std::to_string(i)].value = i;
    first = var_t("here");
    EXPECT_STREQ(map.at("key 0").value.text(), "here");
    EXPECT_EQ(&map["key 0"].value, &first);
}

TEST(ParameterMap, CopiesAreDeepAndMovesTakeAll) {
    ParameterMap map{{"a", {" [hz]", "text"}}, {"b", {"", 2.5}}};
    ParameterMap copy(map);
    copy["a"].value = var_t("other");
    EXPECT_STREQ(map.at("a").value.text(), "text");
    EXPECT_STREQ(copy.at("a").suffix, " [hz]");

    ParameterMap assigned{{"z", {"", 1}}};
    assigned = map;
    EXPECT_THAT(keys_of(assigned), ElementsAre("a", "b"));
    const ParameterMap& self = assigned;
    assigned = self;
    EXPECT_THAT(keys_of(assigned), ElementsAre("a", "b"));

    ParameterMap moved(std::move(assigned));
    EXPECT_EQ(moved.size(), 2u);
    ParameterMap target{{"z", {"", 1}}};
    target = std::move(moved);
    EXPECT_THAT(keys_of(target), ElementsAre("a", "b"));
    EXPECT_DOUBLE_EQ(target.at("b").value.payload<double>(), 2.5);
}

TEST(ParameterMap, ErasesOneKey) {
    ParameterMap map{{"a", {"", 1}}, {"b", {"", "two"}}, {"c", {"", 3}}};
    EXPECT_EQ(map.erase("b"), 1u);
    EXPECT_EQ(map.erase("b"), 0u);
    EXPECT_THAT(keys_of(map), ElementsAre("a", "c"));
    EXPECT_EQ(map.erase("a"), 1u);
    EXPECT_EQ(map.erase("c"), 1u);
    EXPECT_TRUE(map.empty());
    map["d"].value = 4;
    EXPECT_THAT(keys_of(map), ElementsAre("d"));
    map.clear();
    EXPECT_EQ(map.size(), 0u);
}

TEST(ParameterMap, KeysOwnTheirText) {
    ParameterMap map;
    {
        std::string key = "a key that is longer than a short string";
        map[key].value = 1;
        key.assign(key.size(), '-');
    }
    EXPECT_THAT(keys_of(map), ElementsAre("a key that is longer than a short string"));
}

TEST(ParameterMap, ThreadsMayMakeMapsAtOnce) {
    const auto make = [] {
        for (int i = 0; i < 200; ++i) {
            ParameterMap map;
            for (int k = 0; k < 20; ++k) map["thread key " + std::to_string(k)].value = k;
            ASSERT_EQ(map.size(), 20u);
        }
    };
    std::thread other(make);
    make();
    other.join();
}

TEST(ParameterMap, AnEmptyOneIsAPointer) { EXPECT_EQ(sizeof(ParameterMap), sizeof(void*)); }

TEST(EnableMapContainer, AgreesWithTheStandardsMap) {
    std::mt19937_64 random(7);
    for (const std::uint64_t range : {1u, 5u, 300u, 100000u}) {
        EnableMap map;
        std::map<std::uint64_t, EnableMap::mapped_type> model;
        for (int i = 0; i < 3000; ++i) {
            // neighbours, and ids as an editor makes them
            const std::uint64_t id = (random() % range) * (random() % 2 == 0 ? 1 : 0x9E3779B97F4A7C15u);
            const EnableMap::mapped_type value{random() % 100, random() % 100};
            switch (random() % 6) {
                case 0:
                case 1: {
                    const auto [own, added] = map.emplace(id, value);
                    const auto [expected, is_new] = model.emplace(id, value);
                    ASSERT_EQ(added, is_new);
                    ASSERT_EQ(own->first, id);
                    ASSERT_EQ(own->second, expected->second);
                    break;
                }
                case 2: map[id] = model[id] = value; break;
                case 3: ASSERT_EQ(map.erase(id), model.erase(id)); break;
                case 4: map.reserve(random() % 400); break;
                default:
                    ASSERT_EQ(map.contains(id), model.contains(id));
                    if (model.contains(id)) {
                        ASSERT_EQ(map.at(id), model.at(id));
                        ASSERT_EQ(std::as_const(map).find(id)->second, model.at(id));
                    } else {
                        ASSERT_EQ(map.find(id), map.end());
                        ASSERT_THROW(map.at(id), std::out_of_range);
                    }
            }
            ASSERT_EQ(map.size(), model.size());
            ASSERT_EQ(map.empty(), model.empty());
        }
        const std::map<std::uint64_t, EnableMap::mapped_type> walked(map.begin(), map.end());
        EXPECT_EQ(walked, model);
        for (const auto& [id, value] : model) EXPECT_EQ(map.at(id), value);
        map.clear();
        EXPECT_TRUE(map.empty());
        for (const auto& [id, value] : model) EXPECT_FALSE(map.contains(id));
    }
}

TEST(EnableMapContainer, IdsMadeToCollideDoNotSlowItDown) {
    constexpr std::uint64_t count = 1u << 18;
    EnableMap map;
    for (std::uint64_t i = 0; i < count; ++i) map.emplace(i << 30, {i, 0});
    for (std::uint64_t i = 0; i < count; ++i) ASSERT_EQ(map.at(i << 30).first, i);
    for (std::uint64_t i = 0; i < count; ++i) ASSERT_FALSE(map.contains((i << 30) + 1));
    for (std::uint64_t i = 0; i < count; i += 2) ASSERT_EQ(map.erase(i << 30), 1u);
    for (std::uint64_t i = 0; i < count; ++i) ASSERT_EQ(map.contains(i << 30), i % 2 != 0);
}

TEST(EnableMapContainer, ErasingFromALongRunOfIdsIsQuick) {
    constexpr std::uint64_t count = 1u << 18;
    EnableMap map;
    for (std::uint64_t i = 0; i < count; ++i) map.emplace(i, {i, 0});
    for (std::uint64_t i = 0; i < count; i += 2) ASSERT_EQ(map.erase(i), 1u);
    for (std::uint64_t i = 0; i < count; ++i) ASSERT_EQ(map.contains(i), i % 2 != 0);
}

TEST(EnableMapContainer, IsWalkedInTheOrderOfInsertion) {
    EnableMap map;
    for (const std::uint64_t id : {9u, 2u, 7u, 2u}) map.emplace(id, {id, 0});
    std::vector<std::uint64_t> ids;
    for (const auto& [id, enables] : map) ids.push_back(id);
    EXPECT_THAT(ids, ElementsAre(9u, 2u, 7u));
}

TEST(EnableMapContainer, EqualityLooksAtEntriesNotAtTheirOrder) {
    EnableMap a, b;
    a[1] = {2, 3};
    a[4] = {5, 6};
    b[4] = {5, 6};
    EXPECT_FALSE(a == b);
    b[1] = {2, 3};
    EXPECT_TRUE(a == b);
    b[1].second = 0;
    EXPECT_FALSE(a == b);
    b.erase(1);
    b[7] = {2, 3};
    EXPECT_FALSE(a == b);
    EXPECT_TRUE(EnableMap() == EnableMap());
}

TEST(EnableMapContainer, CopiesAreIndependent) {
    EnableMap a;
    a[1] = {2, 3};
    EnableMap b = a;
    b[1] = {0, 0};
    b[2] = {1, 1};
    EXPECT_EQ(a.at(1), EnableMap::mapped_type(2, 3));
    EXPECT_FALSE(a.contains(2));
}

TEST(PortList, GrowsAndShrinksAtItsEnd) {
    PortList ports;
    EXPECT_TRUE(ports.empty());
    EXPECT_EQ(ports.size(), 0u);
    EXPECT_EQ(ports.begin(), ports.end());
    ports.resize(2);
    ports[0].set_type(type_flt64);
    ports[1].set_type(type_bool);
    ports.resize(4);
    ASSERT_EQ(ports.size(), 4u);
    EXPECT_EQ(ports.front().type(), type_flt64);
    EXPECT_EQ(ports[1].type(), type_bool);
    EXPECT_EQ(ports[3].type(), type_unknown);
    EXPECT_EQ(ports[3].source_block(), nullptr);
    ports.resize(1);
    ASSERT_EQ(ports.size(), 1u);
    EXPECT_EQ(ports.begin()->type(), type_flt64);
    ports.resize(0);
    EXPECT_TRUE(ports.empty());
    ports.resize(3);
    ports.clear();
    EXPECT_EQ(ports.size(), 0u);
    EXPECT_EQ(sizeof ports, sizeof(void*));
}

TEST(PortList, ACountThatNoMemoryHoldsRaises) {
    PortList ports;
    ports.resize(1);
    EXPECT_THROW(ports.resize(static_cast<std::size_t>(-1)), std::bad_alloc);
    EXPECT_EQ(ports.size(), 1u);
}

}  // namespace
}  // namespace tessel
