#include "runtime/keyed_list.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <random>
#include <utility>
#include <vector>

#include "runtime/case_mapping.h"
#include "tests/support/thrown_error.h"

namespace tarnwick {
namespace {

static_assert(std::input_iterator<KeyedList<int>::Iterator>, "algorithms can walk a list");

using test_support::error_description_of;
using test_support::error_number_of;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using List = KeyedList<int>;

std::vector<int> values(const List& list) {
  std::vector<int> result;
  for (const int value : list) result.push_back(value);
  return result;
}

List list_of(int count) {
  List list;
  for (int i = 1; i <= count; ++i) list.add(join({u"K", decimal(i)}), i);
  return list;
}

TEST(KeyedList, KeepsTheOrderOfInsertion) {
  List list;
  EXPECT_TRUE(list.empty());
  list.add(u"zebra", 1);
  list.add(u"ape", 2);
  list.add(u"mole", 3);
  EXPECT_EQ(list.size(), 3u);
  EXPECT_THAT(values(list), ElementsAre(1, 2, 3));
  EXPECT_EQ(list.at(1), 1);
  EXPECT_EQ(list.at(3), 3);
}

TEST(KeyedList, MakesRoomBeforeAndAfterTheFirstEntries) {
  KeyedList<int> list;
  list.reserve(10);
  list.add(u"a", 1);
  list.reserve(1000);
  for (int number = 2; number <= 1000; ++number) list.add(decimal(number), number);
  EXPECT_EQ(list.at(u"A"), 1);
  EXPECT_EQ(list.at(u"1000"), 1000);
  EXPECT_EQ(list.at(std::int64_t{2}), 2);
}

TEST(KeyedList, FindsKeysWithoutRegardToCase) {
  List list;
  list.add(u"Sales\u00FEM\u00DCLLER", 1);
  EXPECT_EQ(list.at(u"sALES\u00DEm\u00FCller"), 1);
  EXPECT_NE(list.find(u"SALES\u00FEM\u00FCLLER"), nullptr);
  EXPECT_EQ(list.find(u"Sales\u00FEM\u00DCLLE"), nullptr);
}

TEST(KeyedList, TakesATextAsAKeyAndANumberAsAPosition) {
  List list;
  list.add(u"2", 10);
  list.add(u"1", 20);
  EXPECT_EQ(list.at(u"1"), 20);
  EXPECT_EQ(list.at(1), 10);
}

TEST(KeyedList, TakesTheEmptyKeyLongKeysAndKeysWithNul) {
  List list;
  list.add(u"", 1);
  list.add(Text(100'000, u'x'), 2);
  list.add(TextView(u"a\0b", 3), 3);
  list.add(u"a", 4);
  EXPECT_EQ(list.at(u""), 1);
  EXPECT_EQ(list.at(Text(100'000, u'X')), 2);
  EXPECT_EQ(list.at(TextView(u"A\0B", 3)), 3);
  EXPECT_EQ(list.at(u"a"), 4);
  EXPECT_EQ(list.find(Text(99'999, u'x')), nullptr);
  EXPECT_EQ(error_number_of([&] { list.add(u"", 5); }), 457);
}

TEST(KeyedList, RefusesAKeyThatIsPresentWithError457) {
  List list;
  list.add(u"Sales", 1);
  EXPECT_EQ(error_number_of([&] { list.add(u"SALES", 2); }), 457);
  EXPECT_EQ(error_description_of([&] { list.add(u"SALES", 2); }),
            u"This key is already associated with an element of this collection");
  EXPECT_THAT(values(list), ElementsAre(1));
  list.add(u"Stock", 3);
  EXPECT_THAT(values(list), ElementsAre(1, 3));
}

TEST(KeyedList, AnswersAMissingKeyWithError5) {
  List list = list_of(2);
  EXPECT_EQ(error_number_of([&] { return list.at(u"K3"); }), 5);
  EXPECT_EQ(error_number_of([&] { list.remove(u"K3"); }), 5);
  EXPECT_EQ(error_number_of([] { return List().at(u"K1"); }), 5);
  EXPECT_EQ(list.size(), 2u);
}

TEST(KeyedList, AnswersAPositionOutsideTheListWithError9) {
  List list = list_of(2);
  for (const std::int64_t position :
       {std::int64_t{0}, std::int64_t{3}, std::int64_t{-1},
        std::numeric_limits<std::int64_t>::max(), std::numeric_limits<std::int64_t>::min()}) {
    EXPECT_EQ(error_number_of([&] { return list.at(position); }), 9) << position;
    EXPECT_EQ(error_number_of([&] { list.remove(position); }), 9) << position;
  }
  EXPECT_EQ(error_number_of([] { return List().at(1); }), 9);
}

TEST(KeyedList, MovesTheEntriesBehindARemovedOneUp) {
  List list = list_of(5);
  list.remove(u"k2");
  list.remove(3);
  EXPECT_THAT(values(list), ElementsAre(1, 3, 5));
  EXPECT_EQ(list.at(2), 3);
  EXPECT_EQ(list.at(3), 5);
  EXPECT_EQ(list.find(u"K4"), nullptr);
  EXPECT_EQ(error_number_of([&] { return list.at(4); }), 9);
}

TEST(KeyedList, PutsARemovedKeyThatComesAgainAtTheEnd) {
  List list = list_of(3);
  list.remove(u"K1");
  list.add(u"K1", 10);
  EXPECT_THAT(values(list), ElementsAre(2, 3, 10));
  EXPECT_EQ(list.at(3), 10);
}

TEST(KeyedList, IsEmptyAfterAllAreRemovedAndCanBeFilledAgain) {
  List list = list_of(100);
  for (int i = 0; i < 100; ++i) list.remove(1);
  EXPECT_TRUE(list.empty());
  EXPECT_THAT(values(list), IsEmpty());
  list.add(u"K1", 7);
  EXPECT_THAT(values(list), ElementsAre(7));
  EXPECT_EQ(list.at(1), 7);
}

TEST(KeyedList, LetsGoOfARemovedValueAtOnce) {
  KeyedList<std::shared_ptr<int>> list;
  const auto value = std::make_shared<int>(1);
  list.add(u"a", value);
  EXPECT_EQ(value.use_count(), 2);
  list.remove(u"a");
  EXPECT_EQ(value.use_count(), 1);
}

TEST(KeyedList, MayBeLookedAtByAValueThatIsBeingRemoved) {
  KeyedList<std::shared_ptr<void>> list;
  std::optional<std::size_t> seen;
  bool found = true;
  list.add(u"other", nullptr);
  list.add(u"removed", std::shared_ptr<void>(nullptr, [&](void*) {
             seen = list.size();
             found = list.find(u"removed") != nullptr;
           }));
  list.remove(u"removed");
  EXPECT_EQ(seen, 1u);
  EXPECT_FALSE(found);
}

TEST(KeyedListWalk, SeesEntriesThatAreAddedMeanwhile) {
  List list = list_of(2);
  auto walk = list.walk();
  EXPECT_EQ(*walk.next(), 1);
  list.add(u"new", 3);
  EXPECT_EQ(*walk.next(), 2);
  EXPECT_EQ(*walk.next(), 3);
  EXPECT_EQ(walk.next(), nullptr);
  list.add(u"newer", 4);
  EXPECT_EQ(*walk.next(), 4);
}

TEST(KeyedListWalk, GoesOnBehindWhereItStoodWhateverIsRemoved) {
  for (int removed_before = 0; removed_before <= 100; ++removed_before) {
    List list = list_of(200);
    auto walk = list.walk();
    for (int i = 1; i <= 100; ++i) ASSERT_EQ(*walk.next(), i);
    for (int i = 0; i < removed_before; ++i) list.remove(1);
    list.remove(u"K101");
    list.remove(u"K103");
    ASSERT_EQ(*walk.next(), 102) << removed_before;
    ASSERT_EQ(*walk.next(), 104) << removed_before;
  }
}

TEST(KeyedListWalk, SurvivesTheRemovalOfEverythingAndSeesWhatComesThen) {
  List list = list_of(100);
  auto walk = list.walk();
  for (int i = 1; i <= 50; ++i) ASSERT_EQ(*walk.next(), i);
  for (int i = 1; i <= 100; ++i) list.remove(1);
  EXPECT_EQ(walk.next(), nullptr);
  for (int i = 1; i <= 60; ++i) list.add(join({u"N", decimal(i)}), 1000 + i);
  for (int i = 1; i <= 60; ++i) ASSERT_EQ(*walk.next(), 1000 + i);
  EXPECT_EQ(walk.next(), nullptr);
}

/// A plain model of the list, step by step beside it.
class KeyedListModel : public ::testing::TestWithParam<unsigned> {};

TEST_P(KeyedListModel, AgreesWithTheListAfterEveryStep) {
  std::mt19937 random(GetParam());
  List list;
  std::vector<std::pair<Text, int>> model;
  const auto pick = [&](std::size_t below) {
    return std::uniform_int_distribution<std::size_t>(0, below - 1)(random);
  };
  for (int step = 0; step < 20'000; ++step) {
    const bool growing = step / 2'000 % 2 == 0;
    if (pick(10) < (growing ? 7u : 3u)) {
      const Text key = join({u"k\u00FE", decimal(static_cast<std::int64_t>(pick(700)))});
      const bool present =
          std::ranges::find(model, key, &std::pair<Text, int>::first) != model.end();
      const auto error = error_number_of([&] { list.add(pick(2) == 0 ? upper(key) : key, step); });
      ASSERT_EQ(error, present ? std::optional<std::int32_t>(457) : std::nullopt);
      if (!present) model.emplace_back(key, step);
    } else if (!model.empty()) {
      const std::size_t place = pick(model.size());
      ASSERT_EQ(list.at(static_cast<std::int64_t>(place) + 1), model[place].second);
      ASSERT_EQ(list.at(model[place].first), model[place].second);
      if (pick(2) == 0) {
        list.remove(static_cast<std::int64_t>(place) + 1);
      } else {
        list.remove(upper(model[place].first));
      }
      ASSERT_EQ(list.find(model[place].first), nullptr);
      model.erase(model.begin() + static_cast<std::ptrdiff_t>(place));
    }
    ASSERT_EQ(list.size(), model.size());
    if (step % 100 == 0) {
      std::vector<int> expected;
      for (const auto& entry : model) expected.push_back(entry.second);
      ASSERT_EQ(values(list), expected);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, KeyedListModel, ::testing::Values(1u, 2u, 3u));

/// A value whose insertion runs out of memory when asked to.
struct Fragile {
  int value = 0;
  static inline bool fails = false;
  Fragile() = default;
  explicit Fragile(int v) : value(v) {}
  Fragile(const Fragile&) = default;
  // Not noexcept: to throw here is what it is for.
  // NOLINTNEXTLINE(performance-noexcept-move-constructor)
  Fragile(Fragile&& other) : value(other.value) {
    if (fails) throw std::bad_alloc();
  }
  Fragile& operator=(const Fragile&) = default;
  Fragile& operator=(Fragile&&) = default;
};

TEST(KeyedList, IsUnchangedWhenAValueCannotBeStored) {
  KeyedList<Fragile> list;
  list.add(u"first", Fragile(1));
  list.add(u"second", Fragile(2));
  list.remove(u"first");
  Fragile third(3);
  const auto failing_add = [&] {
    Fragile argument(third);
    Fragile::fails = true;
    list.add(u"third", argument);
  };
  EXPECT_THROW(failing_add(), std::bad_alloc);
  Fragile::fails = false;
  EXPECT_EQ(list.size(), 1u);
  EXPECT_EQ(list.find(u"third"), nullptr);
  list.add(u"third", Fragile(4));
  EXPECT_EQ(list.at(u"third").value, 4);
  EXPECT_EQ(list.at(2).value, 4);
}

TEST(KeyedList, IsUnchangedWhenAValueCannotBeStoredBehindManyRemovals) {
  KeyedList<Fragile> list;
  for (int i = 0; i < 1000; ++i) list.add(decimal(i), Fragile(i));
  for (int i = 0; i < 999; ++i) list.remove(decimal(i));
  const auto failing_add = [&] {
    const Fragile argument(1);
    Fragile::fails = true;
    list.add(u"new", argument);
  };
  EXPECT_THROW(failing_add(), std::bad_alloc);
  Fragile::fails = false;
  EXPECT_EQ(list.find(u"new"), nullptr);
  EXPECT_EQ(list.size(), 1u);
  EXPECT_EQ(list.at(1).value, 999);
}

TEST(KeyedList, HoldsAMillionEntries) {
  KeyedList<int> list;
  constexpr int kCount = 1'000'000;
  for (int i = 1; i <= kCount; ++i) {
    list.add(join({u"00155DA7B3C1\u00FEPC", decimal(i), u"\u00FE7"}), i);
  }
  EXPECT_EQ(list.size(), 1'000'000u);
  for (int i = 1; i <= kCount; i += 997) {
    ASSERT_EQ(list.at(i), i);
    ASSERT_EQ(list.at(join({u"00155da7b3c1\u00DEpc", decimal(i), u"\u00FE7"})), i);
  }
  for (int i = 1; i <= kCount; i += 2) {
    list.remove(join({u"00155DA7B3C1\u00FEPC", decimal(i), u"\u00FE7"}));
  }
  EXPECT_EQ(list.size(), 500'000u);
  for (int position = 1; position <= kCount / 2; position += 997) {
    ASSERT_EQ(list.at(position), 2 * position);
  }
}

}  // namespace
}  // namespace tarnwick
