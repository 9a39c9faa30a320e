#pragma once

#include <cstdint>

#include "automation/com/com.h"
#include "runtime/error.h"

namespace tarnwick::automation::com {

/// The HRESULT of a run-time error: 0x800A0000 plus a number of 1 to 65535, and a negative number
/// as it is (public mapping of automation run-time errors).
[[nodiscard]] HRESULT hresult_of(std::int32_t number);

/// Leaves number and description of the exception that is being handled for the client (rich error
/// information with the source `source`, raised by the interface `iid`), and returns the HRESULT.
/// For catch blocks only.
HRESULT report_exception(const wchar_t* source, const IID& iid) noexcept;

/// Throws an Error for a failed call of the system: its number is the HRESULT, its description
/// `what` and the system's text.
void require(HRESULT result, TextView what);

/// The system's text for an error code, without the line break at its end.
[[nodiscard]] Text system_message(DWORD code);

}  // namespace tarnwick::automation::com
