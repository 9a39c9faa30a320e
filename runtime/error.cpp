#include "runtime/error.h"

#include <algorithm>
#include <array>
#include <utility>

namespace tarnwick {
namespace {

struct Row {
  ErrorNumber number;
  TextView description;
};

// Public source of numbers and descriptions: Microsoft Learn, Office VBA reference, "Trappable
// errors" (learn.microsoft.com/office/vba/language/reference/user-interface-help/
// trappable-errors-vba).
constexpr std::array kTable{
    Row{ErrorNumber::kInvalidProcedureCall, u"Invalid procedure call or argument"},
    Row{ErrorNumber::kOverflow, u"Overflow"},
    Row{ErrorNumber::kOutOfMemory, u"Out of memory"},
    Row{ErrorNumber::kSubscriptOutOfRange, u"Subscript out of range"},
    Row{ErrorNumber::kTypeMismatch, u"Type mismatch"},
    Row{ErrorNumber::kInternalError, u"Internal error"},
    Row{ErrorNumber::kObjectNotSet, u"Object variable or With block variable not set"},
    Row{ErrorNumber::kInvalidUseOfNull, u"Invalid use of Null"},
    Row{ErrorNumber::kKeyAlreadyAssociated,
        u"This key is already associated with an element of this collection"},
};

}  // namespace

TextView description_of(ErrorNumber number) {
  const auto row = std::ranges::find(kTable, number, &Row::number);
  return row == kTable.end() ? TextView() : row->description;
}

Error::Error(ErrorNumber number)
    : Error(static_cast<std::int32_t>(number), Text(description_of(number))) {}

Error::Error(std::int32_t number, Text description)
    : number_(number), description_(std::move(description)), utf8_(to_display_utf8(description_)) {}

}  // namespace tarnwick
