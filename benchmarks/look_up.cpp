#include <random>
#include <string>
#include <unordered_map>

#include "benchmarks/bench_host.h"
#include "benchmarks/dataset.h"
#include "benchmarks/floor_register.h"
#include "benchmarks/jobs.h"
#include "benchmarks/sqlite_floor.h"
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

// What follows asks a register that was just loaded, through the public classes and by hand. Each
// answer is one number of the record that was found.

/// What a client knows of the PC that it asks for.
struct WantedPc {
  std::size_t position = 0;  // from 0
  std::string mac_number;
  std::string computer_id;
  std::int16_t component = 0;
};

FloorRegister register_by_hand(const std::filesystem::path& folder) {
  const Database database = open_database(database_file(folder));
  FloorRegister pcs;
  pcs.load(prepare(database.get(), kFloorList).get());
  return pcs;
}

// Other ones each time, far apart.
std::vector<WantedPc> wanted_pcs(const FloorRegister& pcs) {
  std::mt19937 generator(7);
  std::uniform_int_distribution<std::size_t> any(0, pcs.size() - 1);
  std::vector<WantedPc> wanted;
  for (int i = 0; i < kLookUps; ++i) {
    const std::size_t position = any(generator);
    const PackedPc& pc = pcs[position];
    wanted.push_back({position, std::string(pc.text(PackedPc::kMac)),
                      std::string(pc.text(PackedPc::kComputer)), pc.comp_id});
  }
  return wanted;
}

/// Runs the loop after the questions were asked `times_before` times.
void ask_all(benchmark::State& state, const std::vector<WantedPc>& wanted, int times_before,
             const auto& ask) {
  for (; times_before > 0; --times_before) {
    for (const WantedPc& pc : wanted) benchmark::DoNotOptimize(ask(pc));
  }
  auto next = wanted.begin();
  for (auto _ : state) benchmark::DoNotOptimize(ask(*next++));
}

struct LoadedRegister {
  explicit LoadedRegister(const std::filesystem::path& folder)
      : host(folder), pcs(host.server().registered_pcs()) {
    if (!pcs->refresh()) throw std::runtime_error("the load failed");
  }
  BenchHost host;
  std::shared_ptr<RegisteredPCs> pcs;
};

Side keys_by_server(const std::filesystem::path& folder, int times_before) {
  return [=](benchmark::State& state) {
    const std::vector<WantedPc> wanted = wanted_pcs(register_by_hand(folder));
    std::vector<Variant> keys;
    for (const WantedPc& pc : wanted) {
      keys.emplace_back(join({from_utf8(pc.mac_number), u"\u00FE", from_utf8(pc.computer_id),
                              u"\u00FE", decimal(pc.component)}));
    }
    const LoadedRegister loaded(folder);
    ask_all(state, wanted, times_before, [&](const WantedPc& pc) {
      return loaded.pcs->item(keys[static_cast<std::size_t>(&pc - wanted.data())])->total_logins();
    });
  };
}

Side keys_by_hand(const std::filesystem::path& folder, int times_before) {
  return [=](benchmark::State& state) {
    const FloorRegister pcs = register_by_hand(folder);
    ask_all(state, wanted_pcs(pcs), times_before, [&](const WantedPc& pc) {
      return pcs.find(pc.mac_number, pc.computer_id, pc.component)->total_logins;
    });
  };
}

Side positions_by_server(const std::filesystem::path& folder, int times_before) {
  return [=](benchmark::State& state) {
    const std::vector<WantedPc> wanted = wanted_pcs(register_by_hand(folder));
    const LoadedRegister loaded(folder);
    ask_all(state, wanted, times_before, [&](const WantedPc& pc) {
      return loaded.pcs->item(static_cast<std::int32_t>(pc.position + 1))->total_logins();
    });
  };
}

Side positions_by_hand(const std::filesystem::path& folder, int times_before) {
  return [=](benchmark::State& state) {
    const FloorRegister pcs = register_by_hand(folder);
    ask_all(state, wanted_pcs(pcs), times_before,
            [&](const WantedPc& pc) { return pcs.at(pc.position)->total_logins; });
  };
}

// One iteration is a walk over the whole register.
void walk_by_server(benchmark::State& state, const std::filesystem::path& folder,
                    int times_before) {
  const LoadedRegister loaded(folder);
  const auto walk = [&] {
    auto entries = loaded.pcs->new_enum();
    std::int64_t logins = 0;
    while (const auto pc = entries.next()) logins += pc->total_logins();
    benchmark::DoNotOptimize(logins);
  };
  for (; times_before > 0; --times_before) walk();
  for (auto _ : state) walk();
}

void walk_by_hand(benchmark::State& state, const std::filesystem::path& folder, int times_before) {
  const FloorRegister pcs = register_by_hand(folder);
  const auto walk = [&] {
    std::int64_t logins = 0;
    FloorRegister::Walk entries(pcs);
    while (const auto pc = entries.next()) logins += pc->total_logins;
    benchmark::DoNotOptimize(logins);
  };
  for (; times_before > 0; --times_before) walk();
  for (auto _ : state) walk();
}

std::vector<Row> against_floor(const std::filesystem::path& folder) {
  const auto walking = [&](auto side, int times_before) {
    return [=](benchmark::State& state) { side(state, folder, times_before); };
  };
  std::vector<Comparison> comparisons;
  for (const int before : {0, 1}) {
    const std::string which = before == 0 ? ", the first time" : ", again";
    comparisons.push_back({.name = "look-up by key in 1000000 PCs" + which,
                           .ours = keys_by_server(folder, before),
                           .floor = keys_by_hand(folder, before),
                           .iterations = kLookUps,
                           .time_bar = 1.25});
    comparisons.push_back({.name = "look-up by position in 1000000 PCs" + which,
                           .ours = positions_by_server(folder, before),
                           .floor = positions_by_hand(folder, before),
                           .iterations = kLookUps,
                           .time_bar = 2});
    comparisons.push_back({.name = "enumeration of 1000000 PCs" + which,
                           .ours = walking(walk_by_server, before),
                           .floor = walking(walk_by_hand, before),
                           .time_bar = 1.5});
  }
  return compare(comparisons);
}

}  // namespace

std::vector<Row> measure_look_up(const std::filesystem::path& scratch) {
  const auto position = [](bool after_removals) {
    return [=](benchmark::State& state, int size) { by_position(state, size, after_removals); };
  };
  // Bars leave room for what larger data costs every program: cache misses. The standard library's
  // hash map shows how much that is.
  std::vector<Row> rows{flatness("look-up by key", by_key, 3),
                        flatness("  the same in std::unordered_map", by_key_by_hand, 0),
                        flatness("look-up by position", position(false), 3),
                        flatness("look-up by position after 10% removals", position(true), 4),
                        flatness("one step of an enumeration", enumeration, 2)};
  const std::vector<Row> compared = against_floor(pc_dataset(scratch, kLarge));
  rows.insert(rows.end(), compared.begin(), compared.end());
  return rows;
}

}  // namespace tarnwick::benchmarks
