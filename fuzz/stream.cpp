// Streams and their character sets: any sequence of calls, compared with bytes and a place in them.

#include "ado/stream.h"

#include <algorithm>
#include <optional>
#include <span>
#include <vector>

#include "ado/error.h"
#include "fuzz/target.h"

namespace tarnwick::fuzz {
namespace {

std::vector<std::byte> bytes_of(std::string_view piece) {
  const auto* first = reinterpret_cast<const std::byte*>(piece.data());
  return {first, first + piece.size()};
}

/// The error that `step` ends with, or nothing.
template <class Step>
std::optional<std::int32_t> error_of(Step&& step) {
  try {
    step();
  } catch (const ado::AdoError& error) {
    return error.number();
  }
  return std::nullopt;
}

/// What a binary stream holds.
struct Model {
  std::vector<std::byte> content;
  std::size_t position = 0;

  void write(const std::vector<std::byte>& bytes) {
    content.resize(std::max(content.size(), position + bytes.size()));
    std::copy(bytes.begin(), bytes.end(), content.begin() + static_cast<std::ptrdiff_t>(position));
    position += bytes.size();
  }
};

void require_same(const ado::Stream& stream, const Model& model) {
  require(stream.size() == static_cast<std::int64_t>(model.content.size()),
          "the stream is as long as what was written");
  require(stream.position() == static_cast<std::int64_t>(model.position),
          "the stream stands behind what was written or read");
}

void try_binary(Input& input) {
  ado::Stream stream;
  stream.set_type(ado::StreamType::kBinary);
  stream.open();
  Model model;
  while (!input.empty()) {
    switch (input.choice(4)) {
      case 0: {
        const auto bytes = bytes_of(input.piece());
        stream.write(std::span<const std::byte>(bytes));
        model.write(bytes);
        break;
      }
      case 1: {
        const auto bytes = bytes_of(input.piece());
        stream.write(Bytes(bytes.begin(), bytes.end()));
        model.write(bytes);
        break;
      }
      case 2: {
        const std::int64_t position = input.byte();
        const bool inside = position <= static_cast<std::int64_t>(model.content.size());
        const auto error = error_of([&] { stream.set_position(position); });
        require(error == (inside ? std::nullopt : std::optional<std::int32_t>(3001)),
                "a position behind the end is error 3001");
        if (inside) model.position = static_cast<std::size_t>(position);
        break;
      }
      default: {
        const std::size_t wanted = input.byte();
        const Bytes read = stream.read(static_cast<std::int64_t>(wanted));
        const std::size_t there = std::min(wanted, model.content.size() - model.position);
        require(
            std::equal(read.begin(), read.end(),
                       model.content.begin() + static_cast<std::ptrdiff_t>(model.position),
                       model.content.begin() + static_cast<std::ptrdiff_t>(model.position + there)),
            "what is read is what was written");
        model.position += there;
      }
    }
    require_same(stream, model);
  }
}

void try_texts(Input& input) {
  static constexpr TextView kCharsets[] = {u"iso-8859-1", u"utf-8", u"unicode"};
  ado::Stream stream;
  stream.set_charset(kCharsets[input.choice(3)]);
  stream.open();
  Text written;
  bool whole = true;
  while (!input.empty()) {
    const Text text = input.text();
    const auto size = stream.size();
    const auto error = error_of([&] { stream.write_text(text); });
    require(!error || *error == 3421, "a text that cannot be written is error 3421");
    require(!error || stream.size() == size, "then nothing is written");
    if (error) {
      whole = false;
    } else {
      written += text;
    }
  }
  stream.set_position(0);
  const Text read = stream.read_text();
  require(!whole || read == written, "what is read is what was written");
}

void try_foreign_bytes(Input& input) {
  static constexpr TextView kCharsets[] = {u"iso-8859-1", u"utf-8", u"unicode"};
  const TextView charset = kCharsets[input.choice(3)];
  const std::int64_t part = 1 + static_cast<std::int64_t>(input.choice(16));
  const auto bytes = bytes_of(input.rest());
  ado::Stream stream;
  stream.set_type(ado::StreamType::kBinary);
  stream.open();
  stream.write(std::span<const std::byte>(bytes));
  stream.set_position(0);
  stream.set_type(ado::StreamType::kText);
  stream.set_charset(charset);
  const Text whole = stream.read_text();
  stream.set_position(0);
  Text parts;
  for (Text read; !(read = stream.read_text(part)).empty();) {
    require(static_cast<std::int64_t>(read.size()) <= part + 1,
            "no more is read than was asked for, but for the half of a pair");
    parts += read;
  }
  require(parts == whole, "a text read in parts is the text");
}

}  // namespace

void attempt(Input input) {
  switch (input.choice(3)) {
    case 0:
      return try_binary(input);
    case 1:
      return try_texts(input);
    default:
      return try_foreign_bytes(input);
  }
}

}  // namespace tarnwick::fuzz
