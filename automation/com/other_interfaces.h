#pragma once

#include <memory>
#include <string_view>
#include <tuple>
#include <utility>

#include "automation/binding.h"
#include "state/failures.h"

namespace tarnwick::automation {

// The tables of the two interfaces that clients of COM see beside those of the classes.

template <>
struct Automated<Object> {
  static constexpr Type kType{Kind::kEmpty, {}, {}};
  static Value to(Object result) { return result; }
};

template <>
struct Automated<std::unique_ptr<Enumerator>> {
  static constexpr Type kType{Kind::kEnumerator, {}, {}};
  static Value to(std::unique_ptr<Enumerator> result) {
    return std::shared_ptr<Enumerator>(std::move(result));
  }
};

template <>
struct MembersOf<Collection> {
  static constexpr std::string_view kName = "Collection";
  static constexpr std::tuple kAll{item<&Collection::item>(), get<&Collection::count>("Count"),
                                   get<&Collection::enumerate>("NewEnum")};
};

inline void clear_cause(FailureCause& cause) { cause = {}; }

template <>
struct MembersOf<FailureCause> {
  static constexpr std::string_view kName = "LastCause";
  static constexpr std::tuple kAll{get<&FailureCause::kind>("Kind"),
                                   get<&FailureCause::number>("Number"),
                                   get<&FailureCause::native>("NativeNumber"),
                                   get<&FailureCause::text>("NativeText"),
                                   get<&FailureCause::outcome_unknown>("OutcomeUnknown"),
                                   method<&clear_cause>("Clear")};
};

}  // namespace tarnwick::automation
