#include "state/store.h"

#include <gtest/gtest.h>

#include <iterator>

#include "tests/support/component_setters.h"
#include "tests/support/object_model.h"

namespace tarnwick {
namespace {

using test_support::ScriptedHost;

static_assert(std::input_iterator<Store<Component>::Iterator>, "algorithms can walk a store");

class StoreOfComponents : public ::testing::Test {
 protected:
  std::shared_ptr<Component> add(std::int16_t id) {
    auto component = std::make_shared<Component>(state_);
    test_support::ComponentSetters{*component}.comp_id(id);
    store_->add(component->key(), component);
    return component;
  }

  /// The number of the error that `entry_at` throws, or 0.
  std::int32_t error_at(const Variant& key_or_position) const {
    try {
      (void)entry_at(store_, key_or_position);
    } catch (const Error& error) {
      return error.number();
    }
    return 0;
  }

  test_support::TemporaryFolder folder_;
  ScriptedHost host_{folder_.path()};
  SharedState state_{host_, {}};
  std::shared_ptr<Store<Component>> store_ = std::make_shared<Store<Component>>();
};

TEST_F(StoreOfComponents, TakesATextForAKeyAndANumberForAPosition) {
  const auto third = add(3);
  const auto first = add(1);
  EXPECT_EQ(entry_at(store_, Text(u"C1")), first);
  EXPECT_EQ(entry_at(store_, Text(u"c1")), first);
  EXPECT_EQ(entry_at(store_, std::int16_t{1}), third);
  EXPECT_EQ(entry_at(store_, std::int32_t{2}), first);
  EXPECT_EQ(entry_at(store_, std::int64_t{2}), first);
  EXPECT_EQ(entry_at(store_, 1.5), first) << "half rounds to even";
  EXPECT_EQ(entry_at(store_, 0.6), third);
}

TEST_F(StoreOfComponents, TakesATextOfDigitsForAKeyToo) {
  add(1);
  EXPECT_EQ(error_at(Text(u"1")), 5);
}

TEST_F(StoreOfComponents, FailsForWhatItDoesNotHold) {
  add(1);
  EXPECT_EQ(error_at(Text(u"C2")), 5);
  EXPECT_EQ(error_at(Text()), 5);
  EXPECT_EQ(error_at(std::int32_t{0}), 9);
  EXPECT_EQ(error_at(std::int32_t{2}), 9);
  EXPECT_EQ(error_at(std::int32_t{-1}), 9);
}

TEST_F(StoreOfComponents, FailsForWhatIsNeitherKeyNorPosition) {
  add(1);
  EXPECT_EQ(error_at(Empty{}), 13);
  EXPECT_EQ(error_at(Null{}), 94);
  EXPECT_EQ(error_at(Bytes{std::byte{1}}), 13);
  EXPECT_EQ(error_at(std::int64_t{1} << 40), 6);
}

TEST_F(StoreOfComponents, IsAnObjectThatIsNotSetOnceDropped) {
  store_.reset();
  EXPECT_EQ(error_at(std::int32_t{1}), 91);
  EXPECT_EQ(error_at(Text(u"C1")), 91);
  EXPECT_FALSE(holds(store_, u"C1"));
  EXPECT_FALSE(any_changed(store_));
  EXPECT_FALSE(usable(state_, store_));
  EXPECT_THROW((void)StoreEnumerator<Component>(store_), Error);
}

TEST_F(StoreOfComponents, IsNotUsableWithoutAConnection) {
  add(1);
  EXPECT_FALSE(usable(state_, store_));
}

TEST_F(StoreOfComponents, IsEnumeratedInOrderAndAgainAfterAReset) {
  const auto third = add(3);
  const auto first = add(1);
  StoreEnumerator<Component> enumerator(store_);
  EXPECT_EQ(enumerator.next(), third);
  EXPECT_EQ(enumerator.next(), first);
  EXPECT_EQ(enumerator.next(), nullptr);
  EXPECT_EQ(enumerator.next(), nullptr);
  enumerator.reset();
  EXPECT_EQ(enumerator.next(), third);
}

TEST_F(StoreOfComponents, IsEnumeratedToItsEndAlsoWhenItWasReplacedMeanwhile) {
  add(3);
  const auto first = add(1);
  StoreEnumerator<Component> enumerator(store_);
  (void)enumerator.next();
  store_ = std::make_shared<Store<Component>>();
  EXPECT_EQ(enumerator.next(), first);
  EXPECT_EQ(enumerator.next(), nullptr);
}

TEST_F(StoreOfComponents, IsChangedWhenAnyEntryIs) {
  EXPECT_FALSE(any_changed(store_));
  store_->add(u"unchanged", std::make_shared<Component>(state_));
  EXPECT_FALSE(any_changed(store_));
  add(1);
  EXPECT_TRUE(any_changed(store_));
}

class CountingSource final : public RecordSource<Component> {
 public:
  struct Counts {
    int made = 0;
    int parted = 0;
  };
  CountingSource(SharedState& state, Counts& counts) : state_(state), counts_(counts) {}
  std::shared_ptr<Component> make(std::uint32_t row) const override {
    ++counts_.made;
    auto component = std::make_shared<Component>(state_);
    test_support::ComponentSetters{*component}.comp_id(static_cast<std::int16_t>(row));
    return component;
  }
  void part_from(Component& /*component*/) const noexcept override { ++counts_.parted; }

 private:
  SharedState& state_;
  Counts& counts_;
};

class StoreOfRows : public StoreOfComponents {
 protected:
  void SetUp() override {
    store_ = std::make_shared<Store<Component>>(std::make_unique<CountingSource>(state_, counts_));
    store_->reserve(3);
    for (const std::uint32_t row : {7u, 8u, 9u}) {
      store_->add_row(join({u"C", decimal(row)}), row);
    }
  }
  CountingSource::Counts counts_;
};

TEST_F(StoreOfRows, MakesARecordOnceAndOnlyForWhoAsks) {
  EXPECT_EQ(store_->size(), 3u);
  EXPECT_TRUE(holds(store_, u"c8"));
  EXPECT_FALSE(any_changed(store_));
  EXPECT_EQ(counts_.made, 0);
  const auto record = store_->at(u"C8");
  EXPECT_EQ(record->comp_id(), 8);
  EXPECT_EQ(store_->at(std::int64_t{2}), record);
  EXPECT_EQ(counts_.made, 1);
  int seen = 0;
  for (const auto& each : *store_) seen += each->comp_id();
  EXPECT_EQ(seen, 24);
  EXPECT_EQ(counts_.made, 3);
}

TEST_F(StoreOfRows, PartsFromRecordsThatSomebodyStillHolds) {
  store_->add_row(u"C10", 10);
  const auto removed = store_->at(u"C7");
  const auto removed_by_position = store_->at(u"C8");
  (void)store_->at(u"C9");
  const auto held = store_->at(u"C10");
  store_->remove(u"C7");
  EXPECT_EQ(counts_.parted, 1);
  store_->remove(std::int64_t{1});
  EXPECT_EQ(counts_.parted, 2);
  store_.reset();
  EXPECT_EQ(counts_.parted, 3) << "the other one died with the store";
}

}  // namespace
}  // namespace tarnwick
