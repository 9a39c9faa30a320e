// Measures a call over COM, out of process, against the same call of an empty server: early bound
// by the dual interface and late bound by Invoke, a property read and a method with an argument.
// Prints one line per kind, and keeps the results in the file that the argument names.

#include <tarnwick_com.h>
#include <tarnwick_empty.h>
#include <windows.h>
#include <wrl/client.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <functional>
#include <string>
#include <vector>

#include "benchmarks/results/saved_results.h"

namespace {

using Microsoft::WRL::ComPtr;
using namespace tarnwick::benchmarks;

constexpr double kBar = 1.1;
constexpr int kRuns = 40;
constexpr int kRounds = 100;

void require(HRESULT result, const char* what) {
  if (SUCCEEDED(result)) return;
  std::fprintf(stderr, "com_call: %s: %08lx\n", what, static_cast<unsigned long>(result));
  std::exit(1);
}

double seconds_of(const std::function<void()>& call) {
  LARGE_INTEGER frequency;
  LARGE_INTEGER begin;
  LARGE_INTEGER end;
  QueryPerformanceFrequency(&frequency);
  QueryPerformanceCounter(&begin);
  call();
  QueryPerformanceCounter(&end);
  return static_cast<double>(end.QuadPart - begin.QuadPart) /
         static_cast<double>(frequency.QuadPart);
}

/// The calls take turns, and the best one of each side counts in each run: whatever else the
/// machine does can only make a call longer.
Row compare(const char* name, const std::function<void()>& measured,
            const std::function<void()>& floor) {
  Runs runs{.job = name, .time_bar = kBar};
  for (int run = 0; run < kRuns; ++run) {
    double of_measured = seconds_of(measured);
    double of_floor = seconds_of(floor);
    for (int round = 0; round < kRounds; ++round) {
      of_floor = std::min(of_floor, seconds_of(floor));
      of_measured = std::min(of_measured, seconds_of(measured));
    }
    runs.ours.push_back({.seconds = of_measured});
    runs.floor.push_back({.seconds = of_floor});
  }
  const Row row = row_of(runs);
  std::printf("%-40s %5.2f times the empty server\n", name, row.time);
  return row;
}

void read_early(const ComPtr<_Component>& component) {
  BSTR name = nullptr;
  require(component->get_Name(&name), "reading a property");
  SysFreeString(name);
}
void read_early(const ComPtr<_Empty>& empty) {
  BSTR name = nullptr;
  require(empty->get_Name(&name), "reading a property of the empty server");
  SysFreeString(name);
}

template <class Interface>
void ask_early(const ComPtr<Interface>& object, BSTR key) {
  VARIANT_BOOL exists = VARIANT_FALSE;
  require(object->Exists(key, &exists), "calling a method");
}

DISPID id_of(IDispatch& object, const wchar_t* member) {
  DISPID id = 0;
  auto* name = const_cast<wchar_t*>(member);
  require(object.GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id), "finding a member");
  return id;
}

void invoke(IDispatch& object, DISPID id, BSTR key) {
  VARIANT argument;
  VariantInit(&argument);
  argument.vt = VT_BSTR;
  argument.bstrVal = key;
  DISPPARAMS parameters{&argument, nullptr, key == nullptr ? 0u : 1u, 0};
  VARIANT result;
  VariantInit(&result);
  require(object.Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD | DISPATCH_PROPERTYGET,
                        &parameters, &result, nullptr, nullptr),
          "a late-bound call");
  VariantClear(&result);
}

std::vector<Row> measure() {
  ComPtr<_Empty> empty;
  ComPtr<_Components> components;
  ComPtr<_Component> component;
  require(CoCreateInstance(__uuidof(Empty), nullptr, CLSCTX_LOCAL_SERVER, __uuidof(_Empty), &empty),
          "starting the empty server");
  require(CoCreateInstance(__uuidof(Components), nullptr, CLSCTX_LOCAL_SERVER,
                           __uuidof(_Components), &components),
          "starting the server");
  BSTR name = SysAllocString(L"Ledger");
  BSTR nothing = SysAllocString(L"");
  BSTR key = SysAllocString(L"C1");
  require(components->Add(1, name, 0, 1, 1, VARIANT_TRUE, 2, None_rc, nothing, nothing, nothing,
                          nothing, &component),
          "making a component");
  const DISPID name_id = id_of(*component.Get(), L"Name");
  const DISPID exists_id = id_of(*components.Get(), L"Exists");
  const DISPID empty_name_id = id_of(*empty.Get(), L"Name");
  const DISPID empty_exists_id = id_of(*empty.Get(), L"Exists");

  std::vector<Row> rows;
  rows.push_back(compare(
      "COM property read, early bound", [&] { read_early(component); },
      [&] { read_early(empty); }));
  rows.push_back(compare(
      "COM method call, early bound", [&] { ask_early(components, key); },
      [&] { ask_early(empty, key); }));
  rows.push_back(compare(
      "COM property read, late bound", [&] { invoke(*component.Get(), name_id, nullptr); },
      [&] { invoke(*empty.Get(), empty_name_id, nullptr); }));
  rows.push_back(compare(
      "COM method call, late bound", [&] { invoke(*components.Get(), exists_id, key); },
      [&] { invoke(*empty.Get(), empty_exists_id, key); }));
  SysFreeString(name);
  SysFreeString(nothing);
  SysFreeString(key);
  return rows;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  require(CoInitializeEx(nullptr, COINIT_MULTITHREADED), "COM");
  const std::vector<Row> rows = measure();
  CoUninitialize();
  try {
    save(argv[1], {"calls over COM", "", rows});
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "com_call: %s\n", exception.what());
    return 1;
  }
}
