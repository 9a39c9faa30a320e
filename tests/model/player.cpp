#include "tests/model/player.h"

#include <algorithm>
#include <map>
#include <random>

namespace tarnwick::model {
namespace {

// Whether `text` is `pattern`, in which kAnyText stands for any text.
bool matches(std::string_view pattern, std::string_view text) {
  const std::size_t any = pattern.find(kAnyText);
  if (any == std::string_view::npos) return pattern == text;
  if (text.substr(0, any) != pattern.substr(0, any)) return false;
  pattern.remove_prefix(any + 1);
  for (std::size_t skipped = any; skipped <= text.size(); ++skipped) {
    if (matches(pattern, text.substr(skipped))) return true;
  }
  return false;
}

// Names of row versions: the reference model's and the system's stand for each other, one for one.
// What an uncommitted version looks like is nobody's business.
class Versions {
 public:
  bool same(const std::string& expected, const std::string& seen) {
    if (expected.empty() || seen.empty()) return expected == seen;
    if (expected.front() == 'u') return true;
    const auto [known, is_new] = seen_.emplace(expected, seen);
    const auto [back, is_new_back] = expected_.emplace(seen, expected);
    return known->second == seen && back->second == expected;
  }

 private:
  std::map<std::string, std::string> seen_;
  std::map<std::string, std::string> expected_;
};

std::string line(const Sight& sight, std::size_t i) {
  return i < sight.size() ? sight[i].first + " = " + sight[i].second : "nothing more";
}

std::optional<std::string> difference(const Sight& expected, const Sight& seen,
                                      Versions& versions) {
  for (std::size_t i = 0; i < std::max(expected.size(), seen.size()); ++i) {
    const bool both = i < expected.size() && i < seen.size();
    const bool same = both && expected[i].first == seen[i].first &&
                      (expected[i].first.ends_with("RowVersion")
                           ? versions.same(expected[i].second, seen[i].second)
                           : matches(expected[i].second, seen[i].second));
    if (same) continue;
    std::string what = "expected: " + line(expected, i) + "\n    seen: " + line(seen, i);
    std::replace(what.begin(), what.end(), kAnyText, '*');
    return what;
  }
  return std::nullopt;
}

using Random = std::mt19937;

int below(Random& random, int bound) {
  return static_cast<int>(random() % static_cast<unsigned>(bound));
}

// How often each step comes, against the others.
int weight_of(Op op) {
  switch (op) {
    case Op::kLock:
    case Op::kUpdate:
      return 14;
    case Op::kItemByKey:
    case Op::kLet:
      return 10;
    case Op::kRelease:
    case Op::kDelete:
    case Op::kAdd:
    case Op::kReload:
    case Op::kInsertRow:
    case Op::kItemByPosition:
    case Op::kExtractReport:
      return 6;
    case Op::kDropServer:
    case Op::kConnectToNothing:
    case Op::kReplaceStore:
      return 1;
    default:
      return 3;
  }
}

Op op_of(Random& random) {
  static const std::vector<Op> kWeighed = [] {
    std::vector<Op> ops;
    for (int i = 0; i < kOps; ++i) {
      ops.insert(ops.end(), static_cast<std::size_t>(weight_of(static_cast<Op>(i))),
                 static_cast<Op>(i));
    }
    return ops;
  }();
  return kWeighed[random() % kWeighed.size()];
}

// What clients do one after the other; mostly one thing.
std::vector<Op> phrase_of(Random& random) {
  static const std::vector<std::vector<Op>> kPhrases{
      {Op::kLock, Op::kUpdate},
      {Op::kLock, Op::kLet, Op::kUpdate},
      {Op::kLock, Op::kRelease},
      {Op::kLock, Op::kLet, Op::kKillProcess},
      {Op::kLet, Op::kUpdate, Op::kUpdate},
      {Op::kAdd, Op::kUpdate, Op::kLock, Op::kDelete},
      {Op::kExtractReport, Op::kUpdate, Op::kExtractReport},
      {Op::kImportTtx, Op::kUpdate, Op::kExtractTtx},
  };
  const auto phrase =
      static_cast<std::size_t>(below(random, 8 * static_cast<int>(kPhrases.size())));
  return phrase < kPhrases.size() ? kPhrases[phrase] : std::vector<Op>{op_of(random)};
}

Step step_of(Random& random) {
  Step step;
  step.process = below(random, kProcesses);
  step.place = below(random, kPlaces);
  step.kind = below(random, kKinds);
  step.key = below(random, 12);
  step.value = below(random, 12);
  return step;
}

bool differs(const Steps& steps, const Stage& stage) { return play(steps, stage).has_value(); }

// Leaves out ever smaller pieces.
void leave_out(Steps& steps, const Stage& stage) {
  for (std::size_t piece = steps.size() / 2; piece > 0; piece /= 2) {
    for (std::size_t first = 0; first + piece <= steps.size();) {
      Steps fewer = steps;
      const auto begin = fewer.begin() + static_cast<std::ptrdiff_t>(first);
      fewer.erase(begin, begin + static_cast<std::ptrdiff_t>(piece));
      if (differs(fewer, stage)) {
        steps = std::move(fewer);
      } else {
        first += piece;
      }
    }
  }
}

bool make_smaller(Steps& steps, const Stage& stage) {
  bool smaller = false;
  for (std::size_t i = 0; i < steps.size(); ++i) {
    for (int Step::*number :
         {&Step::process, &Step::place, &Step::kind, &Step::key, &Step::value}) {
      for (int to = 0; to < steps[i].*number; ++to) {
        Steps changed = steps;
        changed[i].*number = to;
        if (!differs(changed, stage)) continue;
        steps = std::move(changed);
        smaller = true;
        break;
      }
    }
  }
  return smaller;
}

}  // namespace

std::optional<Difference> play(const Steps& steps, const Stage& stage) {
  PlayedSystem system(stage);
  ReferenceModel model(system.traits());
  Versions versions;
  for (std::size_t i = 0; i < steps.size(); ++i) {
    if (!system.can(steps[i]) || !model.can(steps[i])) continue;
    const Sight expected = model.play(steps[i]);
    const Sight seen = system.play(steps[i], model.answers());
    if (auto what = difference(expected, seen, versions)) return Difference{i, std::move(*what)};
    if (auto what = difference(model.look(), system.look(), versions)) {
      return Difference{i, std::move(*what)};
    }
  }
  return std::nullopt;
}

Steps made_up_steps(std::uint32_t seed, std::size_t length) {
  Random random(seed);
  Steps steps;
  for (int process = 0; process < kProcesses; ++process) {
    steps.push_back({Op::kNewServer, process});
    steps.push_back({Op::kConnect, process});
  }
  for (int i = 0; i < 2 * kKinds; ++i) {
    steps.push_back({Op::kInsertRow, 0, 0, i, below(random, 5), 0});
  }
  while (steps.size() < length) {
    Step step = step_of(random);
    // Clients mostly go on with the record that they have just used.
    if (below(random, 3) != 0) {
      step.process = steps.back().process;
      step.place = steps.back().place;
    }
    for (const Op op : phrase_of(random)) {
      step.op = op;
      steps.push_back(step);
      step.key = below(random, 12);
      step.value = below(random, 12);
    }
  }
  return steps;
}

Steps shrunk(Steps steps, const Stage& stage) {
  const auto found = play(steps, stage);
  if (!found) return steps;
  steps.resize(found->step + 1);
  do {
    leave_out(steps, stage);
  } while (make_smaller(steps, stage));
  return steps;
}

std::string as_test(const Steps& steps, const Stage& stage) {
  const auto found = play(steps, stage);
  std::string text = "// " + (found ? found->what : std::string("no difference")) + "\n";
  for (std::size_t at = text.find('\n'); at + 1 < text.size(); at = text.find('\n', at + 1)) {
    text.insert(at + 1, "// ");
  }
  text += "TEST(KeptSequences, GiveThisOneAName) {\n  expect_the_same({\n";
  for (const Step& step : steps) text += "      " + source_of(step) + ",\n";
  return text + "  });\n}\n";
}

}  // namespace tarnwick::model
