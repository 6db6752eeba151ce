// Ids for the blocks of referenced files.
#include "files/ids.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace tessel::json {
namespace {

using ids_t = std::vector<std::uint64_t>;

constexpr std::uint64_t least = 1'000'000'000'000'000;
constexpr std::uint64_t most = (std::uint64_t{1} << 53) - 1;

/// Numbers from `first` on.
ids_t count_from(std::uint64_t first, std::size_t count) {
    ids_t ids(count);
    for (auto& id : ids) id = first++;
    return ids;
}

void expect_free_of(const ids_t& fresh, const ids_t& old) {
    for (const std::uint64_t id : fresh)
        for (const std::uint64_t other : old)
            ASSERT_EQ(std::to_string(id).find(std::to_string(other)), std::string::npos) << other << " in " << id;
}

void expect_fresh(const ids_t& fresh, std::size_t count) {
    ASSERT_EQ(fresh.size(), count);
    for (const std::uint64_t id : fresh) {
        EXPECT_GE(id, least);
        EXPECT_LE(id, most);
    }
    EXPECT_EQ(std::set<std::uint64_t>(fresh.begin(), fresh.end()).size(), count);
}

TEST(OldIds, AreFoundAsTextAnywhereInANumber) {
    const OldIds old(ids_t{101, 7, 0, 1234567890123456, 18446744073709551615u});
    for (const std::uint64_t number : {101u, 51011u, 21017u, 7u, 87u, 70u, 20u}) EXPECT_TRUE(old.are_in(number));
    for (const std::uint64_t number : {1u, 11u, 1111u, 2221u, 99999u}) EXPECT_FALSE(old.are_in(number));
    EXPECT_TRUE(old.are_in(1234567890123456));
    EXPECT_TRUE(old.end(101));
    EXPECT_TRUE(old.end(9101));
    EXPECT_FALSE(old.end(1011));
    EXPECT_FALSE(OldIds({}).are_in(1234567890));
}

TEST(OldIds, OneThatIsTooLongHidesNoneBehindIt) {
    const OldIds old(ids_t{18446744073709551615u, 101});
    EXPECT_TRUE(old.are_in(51011));
}

TEST(OldIds, LeadingZerosAreNoDigitsOfAnId) {
    const OldIds old(ids_t{42});
    EXPECT_TRUE(old.are_in(10042));
    EXPECT_FALSE(OldIds(ids_t{5}).end(50));
    EXPECT_FALSE(OldIds(ids_t{105}).end(5));
}

TEST(CreateIds, HoldNoneOfTheOldIdsAsText) {
    for (const ids_t& old :
         {count_from(101, 20), count_from(10, 25), ids_t{3, 5, 8}, count_from(8100000000000001, 50)}) {
        const ids_t fresh = create_ids(old);
        expect_fresh(fresh, old.size());
        expect_free_of(fresh, old);
    }
}

TEST(CreateIds, WhereNoDigitIsLeftTheyAreFreshAllTheSame) { expect_fresh(create_ids(count_from(0, 200)), 200); }

TEST(PathIds, AreMadeOfPathAndOldId) {
    const ids_t old{101, 102};
    const ids_t fresh = PathIds().ids_from_path("part.json", old);
    EXPECT_EQ(fresh, PathIds().ids_from_path("part.json", old));
    EXPECT_EQ(fresh, (ids_t{8180396543886959, 3934867248576802}));  // of this and every other process
    EXPECT_NE(fresh, PathIds().ids_from_path("other.json", old));
    expect_fresh(fresh, 2);
}

TEST(PathIds, HoldNoneOfTheOldIdsAsText) {
    for (const ids_t& old : {count_from(101, 90), count_from(10, 50), count_from(1, 8), ids_t{2, 4, 6, 8, 0, 13, 5713},
                             count_from(8100000000000001, 500)}) {
        const ids_t fresh = PathIds().ids_from_path("part.json", old);
        expect_fresh(fresh, old.size());
        expect_free_of(fresh, old);
    }
}

TEST(PathIds, WhereNoDigitIsLeftTheyAreFreshAllTheSame) {
    expect_fresh(PathIds().ids_from_path("part.json", count_from(0, 200)), 200);
    // a hundred numbers hold none of these
    expect_fresh(PathIds().ids_from_path("part.json", count_from(101, 900)), 900);
}

TEST(PathIds, AFileThatIsReferredToAgainGetsOthers) {
    const ids_t old = count_from(8100000000000001, 100);
    PathIds ids;
    ids_t all = ids.ids_from_path("part.json", old);
    for (const std::uint64_t id : ids.ids_from_path("part.json", old)) all.push_back(id);
    expect_fresh(all, 200);
}

TEST(PathIds, OneIdTwiceInAFileGetsTwo) { expect_fresh(PathIds().ids_from_path("part.json", ids_t{101, 101}), 2); }

TEST(PathIds, TakenIdsAreNotGiven) {
    const ids_t old{101, 102};
    const ids_t wanted = PathIds().ids_from_path("part.json", old);
    PathIds ids;
    ids.take(wanted[0]);
    const ids_t given = ids.ids_from_path("part.json", old);
    EXPECT_NE(given[0], wanted[0]);
    EXPECT_EQ(given[1], wanted[1]);
    expect_free_of(given, old);
}

}  // namespace
}  // namespace tessel::json
