#include "components/component.h"
#include "pcs/refresh_pcs.h"
#include "pcs/registered_pc.h"
#include "state/guard.h"

namespace tarnwick {

std::shared_ptr<Store<RegisteredPC>> Component::pcs() {
  auto mine = std::make_shared<Store<RegisteredPC>>();
  // The view is taken over a register that is read anew each time; a register that cannot be read
  // gives an empty view.
  if (refresh_pcs(state_) && state_.registered_pcs != nullptr) {
    for (const auto& pc : *state_.registered_pcs) {
      if (pc->comp_id() == comp_id_) quietly([&] { mine->add(pc->key(), pc); });
    }
  }
  pcs_ = std::move(mine);
  return pcs_;
}

}  // namespace tarnwick
