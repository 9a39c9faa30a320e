#include <random>
#include <string>
#include <unordered_map>

#include "benchmarks/jobs.h"
#include "runtime/keyed_list.h"

namespace tarnwick::benchmarks {
namespace {

constexpr int kSmall = 10'000;
constexpr int kLarge = 1'000'000;
constexpr int kLookUps = 200'000;

Text key_of(int number) { return join({u"00-16-PC", decimal(number), u"\u00FE", u"7"}); }

// Positions from 1, in no order that a cache could guess.
std::vector<int> scattered(int size) {
  std::mt19937 generator(7);
  std::uniform_int_distribution<int> any(1, size);
  std::vector<int> positions(1024);
  for (int& position : positions) position = any(generator);
  return positions;
}

KeyedList<int> list_of(int size) {
  KeyedList<int> list;
  for (int number = 1; number <= size; ++number) list.add(key_of(number), number);
  return list;
}

void by_key(benchmark::State& state, int size) {
  const KeyedList<int> list = list_of(size);
  std::vector<Text> keys;
  for (const int position : scattered(size)) keys.push_back(key_of(position));
  std::size_t next = 0;
  for (auto _ : state) benchmark::DoNotOptimize(list.at(keys[next++ % keys.size()]));
}

// What the standard library offers for the same, without regard for letter case.
void by_key_by_hand(benchmark::State& state, int size) {
  std::unordered_map<Text, int> map;
  for (int number = 1; number <= size; ++number) map.emplace(key_of(number), number);
  std::vector<Text> keys;
  for (const int position : scattered(size)) keys.push_back(key_of(position));
  std::size_t next = 0;
  for (auto _ : state) benchmark::DoNotOptimize(map.at(keys[next++ % keys.size()]));
}

void by_position(benchmark::State& state, int size, bool after_removals) {
  KeyedList<int> list = list_of(size);
  if (after_removals) {
    for (int number = 10; number < size; number += 10) list.remove(key_of(number));
  }
  const auto positions = scattered(static_cast<int>(list.size()));
  std::size_t next = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(list.at(std::int64_t{positions[next++ % positions.size()]}));
  }
}

// One step of a walk over the whole list, over and over.
void enumeration(benchmark::State& state, int size) {
  const KeyedList<int> list = list_of(size);
  auto walk = list.walk();
  for (auto _ : state) {
    const int* value = walk.next();
    if (value == nullptr) walk = list.walk();
    benchmark::DoNotOptimize(value);
  }
}

// The cost with a million entries over that with ten thousand.
Row flatness(const std::string& name, const std::function<void(benchmark::State&, int)>& job,
             double bar) {
  const auto seconds = [&](int size) {
    return measure([&, size](benchmark::State& state) { job(state, size); }, kLookUps, 3).seconds;
  };
  return {name + ", 1000000 entries over 10000", seconds(kLarge) / seconds(kSmall), bar};
}

}  // namespace

std::vector<Row> measure_look_up(const std::filesystem::path&) {
  const auto position = [](bool after_removals) {
    return [=](benchmark::State& state, int size) { by_position(state, size, after_removals); };
  };
  // Bars leave room for what larger data costs every program: cache misses. The standard library's
  // hash map shows how much that is.
  return {flatness("look-up by key", by_key, 3),
          flatness("  the same in std::unordered_map", by_key_by_hand, 0),
          flatness("look-up by position", position(false), 3),
          flatness("look-up by position after 10% removals", position(true), 4),
          flatness("one step of an enumeration", enumeration, 2)};
}

}  // namespace tarnwick::benchmarks
