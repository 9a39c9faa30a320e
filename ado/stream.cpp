#include "ado/stream.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "ado/error.h"
#include "ado/stream_file.h"
#include "runtime/case_mapping.h"

namespace tarnwick::ado {
namespace {

constexpr std::byte kUtf8Mark[] = {std::byte{0xEF}, std::byte{0xBB}, std::byte{0xBF}};
constexpr std::byte kUtf16Mark[] = {std::byte{0xFF}, std::byte{0xFE}};

bool starts_with(std::span<const std::byte> bytes, std::span<const std::byte> mark) {
  return bytes.size() >= mark.size() && std::equal(mark.begin(), mark.end(), bytes.begin());
}

std::span<const std::byte> bytes_of(const std::string& text) {
  return std::as_bytes(std::span(text));
}

AdoError not_in_charset(TextView charset) {
  return AdoError(
      AdoErrorNumber::kDataConversion,
      join({u"The text has a character that the character set \"", charset, u"\" does not have."}));
}

Bytes to_latin1(TextView text) {
  char16_t all = 0;
  for (const char16_t unit : text) all |= unit;
  if (all > 0xFF) throw not_in_charset(u"iso-8859-1");
  ByteBuffer bytes(text.size());
  std::transform(text.begin(), text.end(), bytes.begin(),
                 [](char16_t unit) { return static_cast<std::byte>(unit); });
  return bytes;
}

// An odd last byte stands for a character by itself, so that no byte of a damaged file is lost.
Text from_utf16(std::span<const std::byte> bytes) {
  Text text((bytes.size() + 1) / 2, u'\0');
  if (!bytes.empty()) std::memcpy(text.data(), bytes.data(), bytes.size());
  return text;
}

bool is_high_surrogate(std::byte high_byte) {
  return (std::to_integer<unsigned>(high_byte) & 0xFC) == 0xD8;
}

}  // namespace

void Stream::set_type(StreamType value) {
  require_movable();
  type_ = value;
}

void Stream::set_charset(TextView name) {
  struct Known {
    TextView name;
    Charset encoding;
  };
  constexpr Known kKnown[] = {
      {u"iso-8859-1", Charset::kLatin1}, {u"utf-8", Charset::kUtf8}, {u"unicode", Charset::kUtf16}};
  require_movable();
  const auto found = std::find_if(std::begin(kKnown), std::end(kKnown), [&](const Known& known) {
    return equals_ignoring_case(known.name, name);
  });
  if (found == std::end(kKnown)) throw AdoError(AdoErrorNumber::kInvalidArgument);
  charset_ = name;
  encoding_ = found->encoding;
}

void Stream::open() {
  if (state_ == ObjectState::kOpen) throw AdoError(AdoErrorNumber::kObjectOpen);
  state_ = ObjectState::kOpen;
}

void Stream::close() {
  require_open();
  content_ = Bytes();
  position_ = 0;
  state_ = ObjectState::kClosed;
}

std::int64_t Stream::position() const {
  require_open();
  return static_cast<std::int64_t>(position_);
}

void Stream::set_position(std::int64_t value) {
  if (value < 0 || value > size()) throw AdoError(AdoErrorNumber::kInvalidArgument);
  position_ = static_cast<std::size_t>(value);
}

std::int64_t Stream::size() const {
  require_open();
  return static_cast<std::int64_t>(content_.size());
}

void Stream::write(std::span<const std::byte> bytes) {
  require_type(StreamType::kBinary);
  put(bytes);
}

void Stream::write(Bytes&& bytes) {
  require_type(StreamType::kBinary);
  if (!content_.empty()) return put(bytes);
  content_ = std::move(bytes);
  position_ = content_.size();
}

Bytes Stream::read(std::int64_t count) {
  require_type(StreamType::kBinary);
  if (count < kReadAll) throw AdoError(AdoErrorNumber::kInvalidArgument);
  std::span<const std::byte> bytes = rest();
  if (count != kReadAll) {
    bytes = bytes.first(std::min(bytes.size(), static_cast<std::size_t>(count)));
  }
  position_ += bytes.size();
  return bytes.size() == content_.size() ? content_ : Bytes(bytes.begin(), bytes.end());
}

void Stream::write_text(TextView text) {
  require_type(StreamType::kText);
  const bool marked = content_.empty() && !text.empty();
  switch (encoding_) {
    case Charset::kLatin1: {
      Bytes bytes = to_latin1(text);
      if (!content_.empty()) return put(bytes);
      content_ = std::move(bytes);
      position_ = content_.size();
      return;
    }
    case Charset::kUtf8: {
      std::string utf8;
      try {
        utf8 = to_utf8(text);
      } catch (const Error&) {
        throw not_in_charset(charset_);
      }
      if (marked) put(kUtf8Mark);
      return put(bytes_of(utf8));
    }
    case Charset::kUtf16:
      if (marked) put(kUtf16Mark);
      return put(std::as_bytes(std::span(text)));
  }
}

Text Stream::read_text(std::int64_t characters) {
  require_type(StreamType::kText);
  std::span<const std::byte> bytes = next_characters(characters);
  const bool at_start = position_ == 0;
  position_ = static_cast<std::size_t>(bytes.data() + bytes.size() - content_.data());
  switch (encoding_) {
    case Charset::kLatin1:
      return from_latin1({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    case Charset::kUtf8:
      if (at_start && starts_with(bytes, kUtf8Mark)) bytes = bytes.subspan(std::size(kUtf8Mark));
      return from_stored_utf8({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    case Charset::kUtf16:
      if (at_start && starts_with(bytes, kUtf16Mark)) bytes = bytes.subspan(std::size(kUtf16Mark));
      return from_utf16(bytes);
  }
  return {};
}

void Stream::copy_to(Stream& target, std::int64_t count) {
  require_open();
  target.require_open();
  if (&target == this || (type_ == StreamType::kBinary && target.type_ == StreamType::kText)) {
    throw AdoError(AdoErrorNumber::kIllegalOperation);
  }
  if (type_ == StreamType::kBinary) return target.write(read(count));
  if (target.type_ == StreamType::kText) return target.write_text(read_text(count));
  const std::span<const std::byte> bytes = next_characters(count);
  target.put(bytes);
  position_ += bytes.size();
}

void Stream::load_from_file(const std::filesystem::path& file) {
  require_open();
  content_ = read_file(file);
  position_ = 0;
}

void Stream::save_to_file(const std::filesystem::path& file, SaveOption option) {
  require_open();
  write_file(file, content_, option);
  position_ = 0;
}

void Stream::require_open() const {
  if (state_ != ObjectState::kOpen) throw AdoError(AdoErrorNumber::kObjectClosed);
}

void Stream::require_type(StreamType type) const {
  require_open();
  if (type_ != type) throw AdoError(AdoErrorNumber::kIllegalOperation);
}

void Stream::require_movable() const {
  if (state_ == ObjectState::kOpen && position_ != 0) {
    throw AdoError(AdoErrorNumber::kIllegalOperation);
  }
}

std::span<const std::byte> Stream::rest() const {
  return std::span<const std::byte>(content_).subspan(position_);
}

std::span<const std::byte> Stream::next_characters(std::int64_t characters) const {
  if (characters < kReadAll) throw AdoError(AdoErrorNumber::kInvalidArgument);
  const std::span<const std::byte> bytes = rest();
  if (characters == kReadAll) return bytes;
  auto left = static_cast<std::size_t>(characters);
  if (encoding_ == Charset::kLatin1) return bytes.first(std::min(bytes.size(), left));

  std::size_t end = 0;
  if (position_ == 0) {
    if (encoding_ == Charset::kUtf8 && starts_with(bytes, kUtf8Mark)) end = std::size(kUtf8Mark);
    if (encoding_ == Charset::kUtf16 && starts_with(bytes, kUtf16Mark)) end = std::size(kUtf16Mark);
  }
  if (encoding_ == Charset::kUtf16) {
    // One multiplication could overflow for a huge count: the units that there are limit it first.
    left = std::min(left, (bytes.size() - end + 1) / 2);
    end = std::min(bytes.size(), end + 2 * left);
    const bool splits_pair =
        left != 0 && end + 2 <= bytes.size() && is_high_surrogate(bytes[end - 1]);
    return bytes.first(splits_pair ? end + 2 : end);
  }
  while (left != 0 && end < bytes.size()) {
    const auto behind = bytes.subspan(end);
    const std::size_t size =
        first_character_size({reinterpret_cast<const char*>(behind.data()), behind.size()});
    const std::size_t units = size == 4 ? 2 : 1;
    left -= std::min(left, units);
    end += size;
  }
  return bytes.first(end);
}

void Stream::put(std::span<const std::byte> bytes) {
  ByteBuffer content = std::move(content_).release();
  const std::size_t over = std::min(bytes.size(), content.size() - position_);
  std::copy_n(bytes.begin(), over, content.begin() + static_cast<std::ptrdiff_t>(position_));
  content.insert(content.end(), bytes.begin() + static_cast<std::ptrdiff_t>(over), bytes.end());
  content_ = std::move(content);
  position_ += bytes.size();
}

}  // namespace tarnwick::ado
