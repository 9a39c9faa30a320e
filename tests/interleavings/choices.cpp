#include "tests/interleavings/choices.h"

#include <charconv>
#include <stdexcept>

namespace tarnwick::interleavings {
namespace {

/// Takes a number, and one character behind it, away from `text`.
std::size_t take_number(std::string_view& text) {
  std::size_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc{}) throw std::invalid_argument("no order: " + std::string(text));
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  if (!text.empty()) text.remove_prefix(1);
  return number;
}

constexpr std::size_t kMostChoices = 100'000;

}  // namespace

Choices::Choices(std::size_t deviations, std::string_view from) : deviations_(deviations) {
  while (!from.empty()) {
    const std::size_t at = take_number(from);
    const std::size_t taken = take_number(from);
    if (at < path_.size() || at > kMostChoices) throw std::invalid_argument("no order");
    path_.resize(at + 1);
    path_[at].taken = taken;
  }
}

std::size_t Choices::choose(std::size_t options) {
  if (!may_deviate()) options = 1;
  if (at_ == path_.size()) path_.push_back({0, options});
  Choice& choice = path_[at_++];
  if (choice.options == 0) choice.options = options;
  if (choice.options != options || choice.taken >= options) {
    diverged_ = true;
    choice = {0, options};
  }
  if (choice.taken != 0) ++made_;
  return choice.taken;
}

bool Choices::next() {
  path_.resize(at_);
  at_ = 0;
  made_ = 0;
  diverged_ = false;
  while (!path_.empty() && path_.back().taken + 1 >= path_.back().options) path_.pop_back();
  if (path_.empty()) return false;
  ++path_.back().taken;
  return true;
}

std::string Choices::text() const {
  std::string text;
  for (std::size_t at = 0; at < path_.size(); ++at) {
    if (path_[at].taken == 0) continue;
    text += (text.empty() ? "" : ",") + std::to_string(at) + ':' + std::to_string(path_[at].taken);
  }
  return text;
}

}  // namespace tarnwick::interleavings
