#pragma once

#include <filesystem>
#include <string_view>

#include "automation/com/com.h"
#include "automation/value.h"

namespace tarnwick::automation::com {

/// The dispatch interface of a class, and the class itself, as the generated header names them.
template <ClassId kClass>
struct ComClass;

#define TARNWICK_COM_CLASS(name)                                      \
  template <>                                                         \
  struct ComClass<ClassId::k##name> {                                 \
    using Interface = ::_##name;                                      \
    static const CLSID& clsid() { return __uuidof(::name); }          \
    static constexpr const wchar_t* kProgId = L"Tarnwick." L## #name; \
  }
TARNWICK_COM_CLASS(Server);
TARNWICK_COM_CLASS(Components);
TARNWICK_COM_CLASS(Component);
TARNWICK_COM_CLASS(RegisteredPCs);
TARNWICK_COM_CLASS(RegisteredPC);
TARNWICK_COM_CLASS(Reports);
TARNWICK_COM_CLASS(Report);
#undef TARNWICK_COM_CLASS

// The classes beside the seven: see other_objects.h.
struct LastCauseClass {
  using Interface = ::_LastCause;
  static const CLSID& clsid() { return __uuidof(::LastCause); }
  static constexpr const wchar_t* kProgId = L"Tarnwick.LastCause";
};
struct RowsClass {
  using Interface = ::_Rows;
  static const CLSID& clsid() { return __uuidof(::Rows); }
  static constexpr const wchar_t* kProgId = L"Tarnwick.Rows";
};

/// The type library that an executable carries. Throws Error where it has none.
class TypeLibrary {
 public:
  explicit TypeLibrary(const std::filesystem::path& executable);

  [[nodiscard]] ITypeLib& library() const { return *library_.Get(); }
  /// The description of a dispatch interface or of a class.
  [[nodiscard]] ComPtr<ITypeInfo> type_info(const GUID& guid) const;

 private:
  ComPtr<ITypeLib> library_;
};

}  // namespace tarnwick::automation::com
