#include "apps/tarnwick/files/payload_names.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <set>
#include <string_view>

namespace tarnwick::cli {
namespace {

constexpr std::size_t kLongest = 60;

bool is_word_character(char16_t c) {
  return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9');
}

// The letters and digits of the name, in small letters, with one hyphen for all between two words.
std::string words_of(TextView name) {
  std::string words;
  for (const char16_t c : name) {
    if (is_word_character(c)) {
      const bool capital = c >= u'A' && c <= u'Z';
      words += static_cast<char>(capital ? c - u'A' + u'a' : c);
    } else if (!words.empty() && words.back() != '-') {
      words += '-';
    }
  }
  if (words.size() > kLongest) words.resize(kLongest);
  while (words.ends_with('-')) words.pop_back();
  return words.empty() ? "report" : words;
}

// Whether the name can be told from its words, but for letter case.
bool is_plain(TextView name) {
  if (name.empty() || name.size() > kLongest) return false;
  char16_t before = u' ';
  for (const char16_t c : name) {
    if (!is_word_character(c) && (c != u' ' || before == u' ')) return false;
    before = c;
  }
  return before != u' ';
}

// What cannot name a file on Windows, whatever its extension.
bool is_device(std::string_view words) {
  constexpr std::array<std::string_view, 4> kDevices{"con", "prn", "aux", "nul"};
  if (std::ranges::find(kDevices, words) != kDevices.end()) return true;
  return words.size() == 4 && (words.starts_with("com") || words.starts_with("lpt")) &&
         words[3] >= '0' && words[3] <= '9';
}

// FNV-1a: the same on every machine.
std::uint32_t number_of(TextView name) {
  std::uint32_t hash = 2166136261u;
  for (const char16_t c : name) {
    for (const std::uint32_t byte : {c & 0xFFu, static_cast<std::uint32_t>(c >> 8)}) {
      hash = (hash ^ byte) * 16777619u;
    }
  }
  return hash;
}

}  // namespace

std::vector<std::string> payload_names(const std::vector<Text>& names) {
  std::vector<std::string> files;
  std::set<std::string> taken;
  for (const Text& name : names) {
    const std::string words = words_of(name);
    const bool plain = is_plain(name) && !is_device(words);
    std::string file = plain ? words : fmt::format("{}-{:08x}", words, number_of(name));
    const std::string first = file;
    for (int i = 2; !taken.insert(file).second; ++i) file = fmt::format("{}-{}", first, i);
    files.push_back(std::move(file));
  }
  return files;
}

}  // namespace tarnwick::cli
