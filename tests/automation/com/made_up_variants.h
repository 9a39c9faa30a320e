#pragma once

#include <cstdint>
#include <deque>
#include <random>
#include <vector>

#include "automation/com/com.h"
#include "automation/model.h"
#include "tests/automation/com/own_object.h"

namespace tarnwick::test_support {

using automation::com::ComPtr;

/// Variants as clients might send them, out of a seed: of every type, right and wrong, with
/// references, arrays and objects. What they point to lives until the next forget().
class MadeUpVariants {
 public:
  /// `crossing`: they are to be carried to another process, so that none refers to nothing.
  MadeUpVariants(std::uint32_t seed, bool crossing) : random_(seed), crossing_(crossing) {}
  ~MadeUpVariants() { forget(); }
  MadeUpVariants(const MadeUpVariants&) = delete;
  MadeUpVariants& operator=(const MadeUpVariants&) = delete;

  [[nodiscard]] std::uint32_t below(std::uint32_t bound) {
    return static_cast<std::uint32_t>(random_() % bound);
  }
  [[nodiscard]] bool once_in(std::uint32_t times) { return below(times) == 0; }

  /// Any, with `objects` to choose from where it is an object of the server.
  [[nodiscard]] VARIANT any(const std::vector<ComPtr<IDispatch>>& objects, int depth = 0);
  /// One that an argument of this type takes, mostly.
  [[nodiscard]] VARIANT fitting(const automation::Type& type,
                                const std::vector<ComPtr<IDispatch>>& objects);

  /// Frees what the variants point to. False where an object of a client's own is held by anybody.
  bool forget();

 private:
  [[nodiscard]] VARIANT plain(VARTYPE type);
  [[nodiscard]] VARIANT reference_to(VARIANT value);
  [[nodiscard]] VARIANT array(const std::vector<ComPtr<IDispatch>>& objects, int depth);
  [[nodiscard]] VARIANT own_object();
  [[nodiscard]] BSTR text();

  std::mt19937 random_;
  bool crossing_;
  std::deque<VARIANT> room_;
  std::vector<BSTR> texts_;
  std::vector<SAFEARRAY*> arrays_;
  std::vector<ComPtr<IDispatch>> own_;
};

}  // namespace tarnwick::test_support
