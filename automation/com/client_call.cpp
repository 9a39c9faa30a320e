#include "automation/com/client_call.h"

#include <utility>

namespace tarnwick::automation::com {

ClientCall::ClientCall(Apartment& apartment)
    : apartment_(apartment), call_(apartment.state().failures) {
  apartment.state().failures.clear();
}

ClientCall::~ClientCall() {
  const Failures& failures = apartment_.state().failures;
  if (failures.last().kind == ado::FailureKind::kNone) return;
  try {
    apartment_.causes().keep(calling_client(), FailureCause(failures.last()));
  } catch (...) {
    // For want of memory, or of a caller: the call itself was answered, and its account tells why.
  }
}

void ClientCall::note_exception() { apartment_.state().failures.note(current_cause()); }

}  // namespace tarnwick::automation::com
