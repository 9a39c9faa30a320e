#include "tests/model/played_system.h"

namespace tarnwick::model {

std::span<const NamedStage> stages() {
  static constexpr std::array<NamedStage, 2> kAll{{{"here", &kInHere}, {"com", &kOverCom}}};
  return kAll;
}

}  // namespace tarnwick::model
