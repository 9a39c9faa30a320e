#include "fuzz/target.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace tarnwick::fuzz {
namespace {

Text code_units(std::string_view bytes) {
  Text text(bytes.size() / sizeof(char16_t), u'\0');
  std::memcpy(text.data(), bytes.data(), text.size() * sizeof(char16_t));
  return text;
}

}  // namespace

std::string_view Input::take(std::size_t size) {
  const auto taken = bytes_.first(std::min(size, bytes_.size()));
  bytes_ = bytes_.subspan(taken.size());
  return {reinterpret_cast<const char*>(taken.data()), taken.size()};
}

std::uint8_t Input::byte() {
  const std::string_view taken = take(1);
  return taken.empty() ? std::uint8_t{0} : static_cast<std::uint8_t>(taken.front());
}

std::int64_t Input::integer() {
  std::int64_t value = 0;
  const std::string_view taken = take(sizeof value);
  if (!taken.empty()) std::memcpy(&value, taken.data(), taken.size());
  return value;
}

std::string_view Input::piece() {
  const std::size_t size = byte();
  return take(size);
}

Text Input::text() { return code_units(piece()); }

std::string_view Input::rest() { return take(bytes_.size()); }

Text Input::rest_as_text() { return code_units(rest()); }

void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "not so: %s\n", what);
  std::abort();
}

}  // namespace tarnwick::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  tarnwick::fuzz::attempt(tarnwick::fuzz::Input({bytes, size}));
  return 0;
}
