#pragma once

#include "automation/com/apartment.h"

namespace tarnwick::automation::com {

/// One call of a client into the object model. What failed in it is kept for that client in the
/// end; a call in which nothing failed leaves what is kept.
class ClientCall {
 public:
  explicit ClientCall(Apartment& apartment);
  ~ClientCall();
  ClientCall(const ClientCall&) = delete;
  ClientCall& operator=(const ClientCall&) = delete;

  /// Notes the exception that is being handled, unless something failed before it. For catch
  /// blocks only.
  void note_exception();

 private:
  Apartment& apartment_;
  Failures::Call call_;
};

/// Runs `body` as a call of a client.
template <class Body>
void carry_out(Apartment& apartment, Body&& body) {
  ClientCall call(apartment);
  try {
    body();
  } catch (...) {
    call.note_exception();
    throw;
  }
}

}  // namespace tarnwick::automation::com
