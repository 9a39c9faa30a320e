#pragma once

#include <deque>
#include <vector>

#include "automation/com/apartment.h"
#include "automation/com/own_variant.h"
#include "automation/model.h"

namespace tarnwick::automation::com {

/// The arguments of a late-bound call in the form that the type library's own Invoke takes on every
/// system: by position, all given, none a reference.
///   - script variables come as references to variants, those of compiled programs as references to
///     what they hold;
///   - what was left out, at the end or in between, takes its default;
///   - named arguments go to their places;
///   - the object that some script engines name as the caller (DISPID_THIS) is nobody's argument;
///   - an object that stands for a value is asked for it.
/// Whoever makes one must not have his turn: a client's object may answer when it likes, and call
/// the server before it does.
class Invocation {
 public:
  /// A call of `member`, or a setting of it (`sets`), with the arguments `given`, which must
  /// outlive this. Throws Error 94 for Null where another value is meant, and 13 for an object of
  /// another process where one of this server is meant.
  Invocation(Apartment& apartment, const Member& member, bool sets, const DISPPARAMS& given);

  /// How many arguments are given.
  [[nodiscard]] static std::size_t count(const DISPPARAMS& given);

  /// S_OK, or why the call cannot be made: DISP_E_BADPARAMCOUNT, DISP_E_PARAMNOTFOUND,
  /// DISP_E_PARAMNOTOPTIONAL, DISP_E_TYPEMISMATCH, or what an object said that was asked.
  [[nodiscard]] HRESULT result() const { return result_; }
  /// The arguments; valid as long as this.
  [[nodiscard]] DISPPARAMS* parameters() { return &parameters_; }

 private:
  HRESULT arrange(const Member& member, const DISPPARAMS& given);
  HRESULT take(const Type& type, const VARIANTARG& given, VARIANTARG& taken);
  VARIANTARG default_of(const Argument& argument);

  Apartment& apartment_;
  std::vector<VARIANTARG> arguments_;  // last one first; borrowed
  std::deque<OwnVariant> owned_;       // what `arguments_` holds beside the caller's
  DISPID property_put_ = DISPID_PROPERTYPUT;
  DISPPARAMS parameters_{};
  HRESULT result_ = S_OK;
};

}  // namespace tarnwick::automation::com
