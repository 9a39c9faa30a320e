// Clients that hold too much, give nothing back, end at the wrong time, or never answer, and the
// real server process that others go on using.

#include <array>
#include <atomic>
#include <string>
#include <thread>

#include "automation/com/errors.h"
#include "tests/apps/windows/process.h"
#include "tests/automation/com/own_object.h"
#include "tests/automation/com/strangers.h"

namespace tarnwick::automation::com {
namespace {

using test_support::comes_back;
using test_support::ComThread;
using test_support::kCall;
using test_support::kMegabyte;
using test_support::LateBound;
using test_support::Outcome;
using test_support::OwnObject;
using test_support::Process;
using test_support::Var;

class StrangeObjects : public test_support::Strangers {
 protected:
  StrangeObjects() { EXPECT_NE(never_, nullptr); }
  ~StrangeObjects() override {
    SetEvent(never_);
    for (std::thread& each : waiting_) each.join();
    CloseHandle(never_);
  }

  /// Lets a client of its own do `body` with an object that does not answer when it is asked for
  /// another interface, nor for its value, until the end of the test.
  void hand_on_a_silent_object(std::function<void(const LateBound&)> body) {
    waiting_.emplace_back([this, body = std::move(body)] {
      const ComThread com;
      const auto wait = [this] { WaitForSingleObject(never_, INFINITE); };
      body(LateBound(adopt<IDispatch>(new OwnObject(wait, [this, wait](VARIANT&) {
        ++asked_;
        wait();
        return E_FAIL;
      }))));
    });
  }

  std::atomic<int> asked_ = 0;

 private:
  HANDLE never_ = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  std::vector<std::thread> waiting_;
};

TEST_F(StrangeObjects, ThatDoNotAnswerHoldUpNobodyElse) {
  hand_on_a_silent_object([components = server_.object(L"Components")](const LateBound& silent) {
    EXPECT_EQ(components.attempt(L"AddCompObject", kCall, {silent.get()}).error, hresult_of(13));
  });
  hand_on_a_silent_object([](const LateBound& silent) {
    ComPtr<::_Rows> rows;
    EXPECT_EQ(LateBound::create(L"Tarnwick.Rows").get()->QueryInterface(IID_PPV_ARGS(&rows)), S_OK);
    Var seen;
    EXPECT_EQ(rows->Look(silent.get(), seen.get()), hresult_of(13));
  });
  hand_on_a_silent_object([](const LateBound& silent) {
    const LateBound made = LateBound::create(L"Tarnwick.Report");
    EXPECT_TRUE(FAILED(made.attempt(L"Title", DISPATCH_PROPERTYPUT, {silent.get()}).result));
  });
  // The first two were never asked, the last one waits.
  for (int i = 0; i < 300 && asked_ == 0; ++i) Sleep(100);
  EXPECT_EQ(asked_, 1);
}

TEST_F(StrangeObjects, ThatCallTheServerWhileItAsksForTheirValueAreAnswered) {
  auto title = std::make_shared<Text>();
  EXPECT_TRUE(comes_back([title, server = server_] {
    const LateBound own(adopt<IDispatch>(new OwnObject([] {},
                                                       [server](VARIANT& value) {
                                                         value.bstrVal =
                                                             server.call(L"Components").object()
                                                                 ? SysAllocString(L"From within")
                                                                 : nullptr;
                                                         value.vt = VT_BSTR;
                                                         return S_OK;
                                                       })));
    const LateBound made = LateBound::create(L"Tarnwick.Report");
    made.put(L"Title", own.get());
    *title = made.call(L"Title").text();
  }));
  EXPECT_EQ(*title, u"From within");
}

TEST_F(StrangeObjects, ThatHaveNoValueAreNone) {
  const LateBound made = LateBound::create(L"Tarnwick.Report");
  const LateBound none(adopt<IDispatch>(new OwnObject([] {})));
  const LateBound wrong(adopt<IDispatch>(new OwnObject([] {},
                                                       [](VARIANT& value) {
                                                         value.vt = VT_BSTR;
                                                         value.bstrVal = SysAllocString(L"many");
                                                         return S_OK;
                                                       })));
  for (const LateBound& each : {none, wrong, LateBound(nullptr), server_}) {
    const HRESULT result = made.attempt(L"ImageIndex", DISPATCH_PROPERTYPUT, {each.get()}).result;
    EXPECT_TRUE(result == DISP_E_TYPEMISMATCH || result == DISP_E_MEMBERNOTFOUND) << result;
  }
  EXPECT_EQ(made.call(L"ImageIndex").number(), 11);
}

TEST_F(StrangeObjects, MadeAndGivenUpByTheThousandLeaveNothing) {
  const LateBound components = server_.object(L"Components");
  ComPtr<IUnknown> walk;
  DISPPARAMS none{};
  const auto make_and_give_up = [&](int objects, int others) {
    for (int i = 0; i < objects; ++i) {
      const LateBound made = LateBound::create(L"Tarnwick.Report");
      made.put(L"Definition", u"A text that is longer than the shortest ones");
    }
    std::vector<LateBound> held;
    for (int i = 0; i < others; ++i) {
      held.push_back(components.object(L"FindMetaID", {u"nobody"}));
      Var result;
      EXPECT_EQ(components.get()->Invoke(DISPID_NEWENUM, IID_NULL, 0, kCall, &none, result.get(),
                                         nullptr, nullptr),
                S_OK);
    }
  };
  make_and_give_up(30, 300);  // what the first ones make grows once
  const std::size_t memory = process_.memory();
  const std::size_t handles = process_.handles();
  const std::size_t threads = process_.threads();
  make_and_give_up(150, 1500);
  EXPECT_LT(process_.memory(), memory + 2 * kMegabyte);
  EXPECT_LE(process_.handles(), handles + 10);
  EXPECT_LE(process_.threads(), threads + 4);
}

TEST_F(StrangeObjects, ThatAClientCutsOffStayForOthers) {
  const LateBound components = server_.object(L"Components");
  for (int i = 0; i < 50; ++i) {
    const LateBound component = components.object(L"Item", {1});
    EXPECT_EQ(CoDisconnectObject(component.get(), 0), S_OK);
  }
  EXPECT_EQ(components.object(L"Item", {1}).call(L"Name").text(), u"One");
}

TEST_F(StrangeObjects, OfAnotherApartmentAreRefusedOrWork) {
  const LateBound report = server_.object(L"Reports").object(L"Item", {1});
  IDispatch* raw = report.get();
  std::thread([raw] {
    EXPECT_GE(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), 0);
    {
      DISPID id = 0;
      wchar_t name[] = L"Name";
      LPOLESTR names = name;
      const HRESULT result = raw->GetIDsOfNames(IID_NULL, &names, 1, 0, &id);
      EXPECT_TRUE(result == S_OK || result == RPC_E_WRONG_THREAD) << std::hex << result;
      const LateBound own = LateBound::create(L"Tarnwick.Report");
      EXPECT_EQ(own.call(L"Name").text(), u"");
    }
    CoUninitialize();
  }).join();
  std::thread([raw] {  // without COM
    DISPID id = 0;
    wchar_t name[] = L"Name";
    LPOLESTR names = name;
    const HRESULT result = raw->GetIDsOfNames(IID_NULL, &names, 1, 0, &id);
    EXPECT_TRUE(result == S_OK || FAILED(result));
  })
      .join();
  EXPECT_EQ(report.call(L"Name").text(), u"Sales");
}

// Each thread is a client of its own, with the error and the cause of its own calls.
TEST_F(StrangeObjects, OfClientsThatCallAllAtOnceAnswerEachItsOwn) {
  EXPECT_TRUE(comes_back([pcs = server_.object(L"RegisteredPCs")] {
    std::vector<std::thread> clients;
    for (int number = 0; number < 6; ++number) {
      clients.emplace_back([number, pcs] {
        const ComThread com;
        const LateBound mine = LateBound::create(L"Tarnwick.Report");
        const Text title = decimal(number);
        mine.put(L"Title", title);
        for (int i = 0; i < 60; ++i) {
          switch (number % 3) {
            case 0:
              EXPECT_EQ(pcs.attempt(L"Item", kCall, {u"nobody"}).error, hresult_of(5));
              break;
            case 1:
              EXPECT_EQ(pcs.attempt(L"Item", kCall, {99}).error, hresult_of(9));
              break;
            default:
              EXPECT_EQ(pcs.attempt(L"Item", kCall, {mine.get()}).error, hresult_of(13));
          }
          EXPECT_EQ(mine.call(L"Title").text(), title);
        }
      });
    }
    for (std::thread& each : clients) each.join();
  }));
}

#define READY L"Local\\Tarnwick.Test.Stranger"

class KilledStrangers : public StrangeObjects {
 protected:
  ~KilledStrangers() override { CloseHandle(ready_); }

  /// Lets so many clients go at it, and ends them by force in the midst of it.
  void kill_in_the_midst(const std::wstring& what, int clients) {
    std::vector<std::unique_ptr<Process>> all;
    for (int i = 0; i < clients; ++i) {
      all.push_back(std::make_unique<Process>(L"\"" STRANGER L"\" " + what + L" " READY));
    }
    for (int i = 0; i < clients; ++i) EXPECT_EQ(WaitForSingleObject(ready_, 30'000), WAIT_OBJECT_0);
  }

  HANDLE ready_ = CreateSemaphoreW(nullptr, 0, 100, READY);
};

TEST_F(KilledStrangers, AmidTheirCallsLeaveTheServerToOthers) {
  kill_in_the_midst(L"calls", 3);
  const std::size_t memory = process_.memory();
  const std::size_t handles = process_.handles();
  const std::size_t threads = process_.threads();
  kill_in_the_midst(L"calls", 3);
  kill_in_the_midst(L"texts", 3);
  // Wine never gives up what they held: an object with a text of a megabyte each, and what COM has
  // for each client.
  EXPECT_LT(process_.memory(), memory + 40 * kMegabyte);
  EXPECT_LE(process_.handles(), handles + 6 * 20);
  EXPECT_LE(process_.threads(), threads + 6 * 3);
}

TEST_F(KilledStrangers, WithALockAmidACallLeaveTheRowToOthers) {
  kill_in_the_midst(L"locks", 1);
  // Its Server emptied the lists that all share.
  EXPECT_TRUE(server_.call(L"Refresh").boolean());
  const LateBound component = server_.object(L"Components").object(L"Item", {1});
  bool free = false;
  for (int i = 0; i < 300 && !free; ++i) {
    free = !component.call(L"Locked").boolean();
    if (!free) Sleep(100);
  }
  EXPECT_TRUE(free);
  EXPECT_TRUE(component.call(L"LockRecord").boolean()) << to_display_utf8(message());
  EXPECT_TRUE(component.call(L"ReleaseRecord").boolean());
}

}  // namespace
}  // namespace tarnwick::automation::com
