#include "automation/com/class_objects.h"

#include <atomic>

#include "automation/com/class_table.h"
#include "automation/com/counted.h"
#include "automation/com/errors.h"

namespace tarnwick::automation::com {
namespace {

class ClassObject final : public Counted<IClassFactory> {
 public:
  ClassObject(Apartment& apartment, const ClassEntry& entry)
      : apartment_(apartment), entry_(entry) {}

  STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** out) override {
    if (out == nullptr) return E_POINTER;
    *out = nullptr;
    if (outer != nullptr) return CLASS_E_NOAGGREGATION;
    // The process must not end before there is an object to keep it.
    apartment_.life().hold();
    const HRESULT result = create(iid, out);
    apartment_.life().release();
    return result;
  }
  STDMETHODIMP LockServer(BOOL lock) override {
    if (lock != FALSE) {
      apartment_.life().hold();
      ++locks_;
      return S_OK;
    }
    // What else keeps the process is not for anybody to give up.
    for (std::uint32_t locks = locks_; locks > 0;) {
      if (!locks_.compare_exchange_weak(locks, locks - 1)) continue;
      apartment_.life().release();
      return S_OK;
    }
    return E_UNEXPECTED;
  }

 private:
  HRESULT create(REFIID iid, void** out) noexcept {
    try {
      const Apartment::Turn turn = apartment_.wait_for_turn();
      return entry_.create(apartment_)->QueryInterface(iid, out);
    } catch (...) {
      return report_exception(entry_.prog_id, IID_IClassFactory);
    }
  }

  void* find_interface(REFIID iid) override {
    return iid == IID_IUnknown || iid == IID_IClassFactory ? static_cast<IClassFactory*>(this)
                                                           : nullptr;
  }

  Apartment& apartment_;
  const ClassEntry& entry_;
  std::atomic<std::uint32_t> locks_ = 0;
};

}  // namespace

ComPtr<IClassFactory> new_class_object(Apartment& apartment, const ClassEntry& entry) {
  return adopt<IClassFactory>(new ClassObject(apartment, entry));
}

ClassObjects::ClassObjects(Apartment& apartment) try {
  for (std::size_t i = 0; i < cookies_.size(); ++i) {
    const ClassEntry& entry = class_table()[i];
    const ComPtr<IClassFactory> factory = new_class_object(apartment, entry);
    require(CoRegisterClassObject(entry.clsid, factory.Get(), CLSCTX_LOCAL_SERVER,
                                  REGCLS_MULTIPLEUSE | REGCLS_SUSPENDED, &cookies_[i]),
            u"The class objects cannot be registered");
  }
  require(CoResumeClassObjects(), u"The class objects cannot be opened to clients");
} catch (...) {
  revoke();
  throw;
}

ClassObjects::~ClassObjects() { revoke(); }

void ClassObjects::revoke() noexcept {
  for (DWORD& cookie : cookies_) {
    if (cookie != 0) CoRevokeClassObject(cookie);
    cookie = 0;
  }
}

}  // namespace tarnwick::automation::com
