#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "automation/com/com.h"
#include "runtime/text.h"

namespace tarnwick::test_support {

using automation::com::ComPtr;

/// A VARIANT that is cleared in the end; what late-bound calls take and give.
class Var {
 public:
  Var() { VariantInit(&variant_); }
  Var(const char16_t* text) : Var(Text(text)) {}
  Var(const Text& text);
  Var(bool value);
  Var(int value);
  Var(double value);
  Var(IDispatch* object);
  Var(const Var& other);
  Var& operator=(const Var& other);
  ~Var() { VariantClear(&variant_); }

  [[nodiscard]] static Var missing();
  [[nodiscard]] static Var null();
  [[nodiscard]] static Var date(double days);
  [[nodiscard]] static Var int16(short value);
  /// A reference to `variant`, as script variables arrive.
  [[nodiscard]] static Var reference(Var& variant);

  [[nodiscard]] VARTYPE type() const { return variant_.vt; }
  [[nodiscard]] Text text() const;     // of a text only
  [[nodiscard]] int number() const;    // of a number only
  [[nodiscard]] bool boolean() const;  // of a Boolean only
  [[nodiscard]] double days() const;   // of a date only
  [[nodiscard]] ComPtr<IDispatch> object() const;
  [[nodiscard]] VARIANT* get() { return &variant_; }
  [[nodiscard]] const VARIANT& value() const { return variant_; }

 private:
  VARIANT variant_;
};

/// What came of a late-bound call.
struct Outcome {
  HRESULT result = S_OK;
  Var value;
  std::int32_t error = 0;  // of the exception, as clients see it
  Text source;
  Text description;
};

/// An automation object through its dispatch interface, as a script uses it.
class LateBound {
 public:
  explicit LateBound(ComPtr<IDispatch> object) : object_(std::move(object)) {}
  /// A new object in the registered server; a test failure and a null object when it cannot be
  /// made.
  [[nodiscard]] static LateBound create(const wchar_t* prog_id);

  [[nodiscard]] Outcome attempt(const wchar_t* member, WORD flags,
                                const std::vector<Var>& arguments) const;
  /// Calls or reads a member; a test failure when that fails.
  Var call(const wchar_t* member, const std::vector<Var>& arguments = {}) const;
  [[nodiscard]] LateBound object(const wchar_t* member,
                                 const std::vector<Var>& arguments = {}) const;
  void put(const wchar_t* member, const Var& value) const;
  /// What a for-each loop sees.
  [[nodiscard]] std::vector<LateBound> each() const;

  [[nodiscard]] IDispatch* get() const { return object_.Get(); }

 private:
  ComPtr<IDispatch> object_;
};

}  // namespace tarnwick::test_support
