#include "automation/com/errors.h"

#include <new>

#include "platform/windows/wide.h"

namespace tarnwick::automation::com {
namespace {

void leave_error_info(const wchar_t* source, const IID& iid, const std::wstring& description) {
  ComPtr<ICreateErrorInfo> create;
  if (FAILED(CreateErrorInfo(&create))) return;
  create->SetGUID(iid);
  create->SetSource(const_cast<wchar_t*>(source));
  create->SetDescription(const_cast<wchar_t*>(description.c_str()));
  ComPtr<IErrorInfo> info;
  if (SUCCEEDED(create.As(&info))) SetErrorInfo(0, info.Get());
}

}  // namespace

HRESULT hresult_of(std::int32_t number) {
  if (number > 0 && number <= 0xFFFF) return MAKE_HRESULT(SEVERITY_ERROR, FACILITY_CONTROL, number);
  return number < 0 ? number : E_FAIL;
}

HRESULT report_exception(const wchar_t* source, const IID& iid) noexcept {
  try {
    throw;
  } catch (const Error& error) {
    try {
      leave_error_info(source, iid, platform::to_wide(error.description()));
    } catch (const std::bad_alloc&) {
      return E_OUTOFMEMORY;
    }
    return hresult_of(error.number());
  } catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
  } catch (...) {
    return E_UNEXPECTED;
  }
}

Text system_message(DWORD code) {
  wchar_t* buffer = nullptr;
  const DWORD length = FormatMessageW(
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
      nullptr, code, 0, reinterpret_cast<wchar_t*>(&buffer), 0, nullptr);
  Text text = platform::from_wide({buffer, length});
  LocalFree(buffer);
  while (!text.empty() && (text.back() == u'\n' || text.back() == u'\r' || text.back() == u' ')) {
    text.pop_back();
  }
  return text.empty() ? join({u"error ", decimal(static_cast<std::int32_t>(code))}) : text;
}

void require(HRESULT result, TextView what) {
  if (SUCCEEDED(result)) return;
  throw Error(result, join({what, u": ", system_message(static_cast<DWORD>(result))}));
}

}  // namespace tarnwick::automation::com
