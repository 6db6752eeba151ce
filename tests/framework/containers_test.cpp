// The containers of blocks and models against the standard's.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "EnableMap.h"
#include "ParameterMap.h"
#include "framework/PortList.h"

namespace tessel {
namespace {

using testing::ElementsAre;

/// What a map says of a key that is not there.
template <class Map, class Key>
std::string missing(Map& map, const Key& key) {
    try {
        map.at(key);
    } catch (const std::out_of_range& error) {
        return error.what();
    }
    return "found";
}

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
    EXPECT_EQ(missing(map, "none"), "invalid unordered_map<K, T> key");
    EXPECT_EQ(missing(std::as_const(map), "none"), "invalid unordered_map<K, T> key");
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

TEST(ParameterMap, AddsOnlyWhatIsNotThere) {
    ParameterMap map;
    const auto [added, is_new] = map.emplace("a", param_t{" [sec]", 1});
    EXPECT_TRUE(is_new);
    EXPECT_EQ(added->first, "a");
    const auto again = map.emplace("a", param_t{"", 2});
    EXPECT_FALSE(again.second);
    EXPECT_EQ(again.first, added);
    EXPECT_FALSE(map.try_emplace("a", "", 3).second);
    EXPECT_FALSE(map.insert({"a", {"", 4}}).second);
    EXPECT_EQ(map.at("a").value.payload<int>(), 1);
    EXPECT_TRUE(map.try_emplace("b").second);
    EXPECT_TRUE(map.at("b").value.type() == type_unknown);
    EXPECT_TRUE(map.insert({"c", {"", "text"}}).second);
    map.insert({{"c", {"", 5}}, {"d", {"", 6}}});
    EXPECT_STREQ(map.at("c").value.text(), "text");
    const ParameterMap more{{"d", {"", 7}}, {"e", {"", 8}}};
    map.insert(more.begin(), more.end());
    EXPECT_THAT(keys_of(map), ElementsAre("a", "b", "c", "d", "e"));
    EXPECT_EQ(map.at("d").value.payload<int>(), 6);
}

TEST(ParameterMap, InsertOrAssignReplaces) {
    ParameterMap map;
    EXPECT_TRUE(map.insert_or_assign("a", {"", 1}).second);
    const auto [place, is_new] = map.insert_or_assign("a", {" [hz]", 2});
    EXPECT_FALSE(is_new);
    EXPECT_EQ(place, map.find("a"));
    EXPECT_STREQ(map.at("a").suffix, " [hz]");
    EXPECT_EQ(map.at("a").value.payload<int>(), 2);
    EXPECT_EQ(map.size(), 1u);
}

TEST(ParameterMap, CountsAndRanges) {
    ParameterMap map{{"a", {"", 1}}, {"b", {"", 2}}};
    EXPECT_EQ(map.count("a"), 1u);
    EXPECT_EQ(map.count("z"), 0u);
    const auto [first, last] = map.equal_range("a");
    EXPECT_EQ(first, map.find("a"));
    EXPECT_EQ(last, map.find("b"));
    const auto none = std::as_const(map).equal_range("z");
    EXPECT_EQ(none.first, map.cend());
    EXPECT_EQ(none.second, map.cend());
    EXPECT_EQ(std::distance(map.cbegin(), map.cend()), 2);
}

TEST(ParameterMap, ErasesAtAPlaceAndOverARange) {
    ParameterMap map{{"a", {"", 1}}, {"b", {"", 2}}, {"c", {"", 3}}, {"d", {"", 4}}};
    const auto next = map.erase(map.find("b"));
    EXPECT_EQ(next, map.find("c"));
    EXPECT_EQ(map.erase(map.cbegin(), map.find("d")), map.find("d"));
    EXPECT_THAT(keys_of(map), ElementsAre("d"));
    EXPECT_EQ(map.erase(map.begin()), map.end());
    EXPECT_TRUE(map.empty());
}

TEST(ParameterMap, SwapsAndCompares) {
    ParameterMap a{{"a", {" [sec]", 1}}, {"b", {"", "x"}}};
    ParameterMap b{{"b", {"", "x"}}, {"a", {" [sec]", 1}}};
    EXPECT_TRUE(a == b);
    b["a"].value = 1.0;
    EXPECT_FALSE(a == b) << "of another type";
    b["a"] = {"", 1};
    EXPECT_FALSE(a == b) << "of another unit";
    ParameterMap empty;
    swap(a, empty);
    EXPECT_TRUE(a.empty());
    EXPECT_THAT(keys_of(empty), ElementsAre("a", "b"));
    EXPECT_FALSE(a == empty);
    a.swap(empty);
    EXPECT_EQ(a.size(), 2u);
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
                        ASSERT_EQ(missing(map, id), "invalid unordered_map<K, T> key");
                        ASSERT_EQ(missing(std::as_const(map), id), "invalid unordered_map<K, T> key");
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

TEST(EnableMapContainer, AddsOnlyWhatIsNotThere) {
    EnableMap map{{1, {2, 3}}, {1, {4, 5}}, {6, {7, 8}}};
    EXPECT_EQ(map.size(), 2u);
    EXPECT_EQ(map.at(1), EnableMap::mapped_type(2, 3));
    EXPECT_FALSE(map.emplace(std::piecewise_construct, std::tuple(1u), std::tuple(9u, 9u)).second);
    EXPECT_TRUE(map.emplace(std::pair(9u, std::pair(1u, 2u))).second);
    EXPECT_FALSE(map.try_emplace(6, 1u, 1u).second);
    EXPECT_TRUE(map.try_emplace(7).second);
    EXPECT_EQ(map.at(7), EnableMap::mapped_type(0, 0));
    EXPECT_FALSE(map.insert({7, {1, 1}}).second);
    const EnableMap more(map.begin(), map.end());
    EXPECT_TRUE(more == map);
    const auto [place, is_new] = map.insert_or_assign(6, {5, 5});
    EXPECT_FALSE(is_new);
    EXPECT_EQ(place, map.find(6));
    EXPECT_EQ(place->second, EnableMap::mapped_type(5, 5));
    EXPECT_TRUE(map.insert_or_assign(10, {1, 0}).second);
    EXPECT_EQ(map.count(10), 1u);
    EXPECT_EQ(map.count(11), 0u);
    EXPECT_GT(map.max_size(), 4'000'000'000u);
}

TEST(EnableMapContainer, RangesAndPlaces) {
    EnableMap map;
    for (std::uint64_t id = 0; id < 100; ++id) map[id] = {id, 0};
    const auto [first, last] = map.equal_range(5);
    EXPECT_EQ(last - first, 1);
    EXPECT_EQ(first->first, 5u);
    const auto none = std::as_const(map).equal_range(500);
    EXPECT_EQ(none.first, map.cend());
    EXPECT_EQ(none.second, map.cend());
    for (auto i = map.begin(); i != map.end();) i = i->first % 3 == 0 ? map.erase(i) : i + 1;
    EXPECT_EQ(map.size(), 66u);
    for (std::uint64_t id = 0; id < 100; ++id) EXPECT_EQ(map.contains(id), id % 3 != 0);
    const auto behind = map.erase(map.cbegin() + 10, map.cend() - 10);
    EXPECT_EQ(behind, map.begin() + 10);
    EXPECT_EQ(map.size(), 20u);
    for (const auto& [id, enables] : map) EXPECT_EQ(map.at(id).first, id);
}

TEST(EnableMapContainer, Swaps) {
    EnableMap a{{1, {2, 3}}}, b;
    swap(a, b);
    EXPECT_TRUE(a.empty());
    EXPECT_FALSE(a.contains(1));
    EXPECT_EQ(b.at(1), EnableMap::mapped_type(2, 3));
    a[4] = {1, 1};
    b.swap(a);
    EXPECT_TRUE(a.contains(1));
    EXPECT_TRUE(b.contains(4));
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
