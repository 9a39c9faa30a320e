#include "state/error_state.h"

namespace tarnwick {

void ErrorState::prefix(TextView line) { message_ = join({line, kCrLf, message_}); }

void ErrorState::append_line(TextView line) { message_.append(kCrLf).append(line); }

void ErrorState::record(const Procedure& procedure, const Error& error, TextView extra_lines) {
  // The first error number sticks: a client sees what went wrong first, the message tells the rest.
  if (number_ == 0) number_ = error.number();
  // "Proceedure" is how clients know the word.
  // Accounts pile up by the thousand where every row of a table fails: each is appended in place.
  message_.append(join({kCrLf, u"Error in Component: '", procedure.component, u"', Proceedure: '",
                        procedure.name, u"'.", kCrLf, extra_lines, u"Error #:    \t",
                        decimal(error.number()), kCrLf, u"Description:\t", error.description()}));
}

}  // namespace tarnwick
