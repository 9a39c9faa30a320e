#pragma once

#include <tarnwick_com.h>  // made from tarnwick.idl
#include <windows.h>
#include <wrl/client.h>

// Windows makes macros of names that other rooms use.
#undef MessageBox

namespace tarnwick::automation::com {

using Microsoft::WRL::ComPtr;

/// Takes over the caller's reference. ComPtr::Attach would do, but that of mingw-w64 adds one.
template <class Interface>
[[nodiscard]] ComPtr<Interface> adopt(Interface* reference) {
  ComPtr<Interface> owner;
  *owner.GetAddressOf() = reference;
  return owner;
}

}  // namespace tarnwick::automation::com
