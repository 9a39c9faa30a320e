#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "state/shared_state.h"

namespace tarnwick {

// The payloads of a report on their way between column, text and file. All go through the shared
// stream and throw what it throws.

/// Makes `stream` a closed stream: closes one that is open, creates one where there is none.
void prepare_stream(std::shared_ptr<ado::Stream>& stream);

/// The bytes as ISO-8859-1 text. They are left in the file TTX.bin in the host's folder until the
/// next conversion overwrites it.
[[nodiscard]] Text ttx_from_bytes(SharedState& state, Bytes bytes);

/// Many conversions in a row, which leave the last one's bytes in TTX.bin, as if each had written
/// them. What nobody could see is not written: bytes for which there was room in the file before,
/// and which the next conversion would overwrite.
class TtxConversions final {
 public:
  explicit TtxConversions(SharedState& state) : state_(state) {}

  /// As ttx_from_bytes. Throws, as that does, where this is the first one since the file could not
  /// be written, or has more bytes than were written so far.
  [[nodiscard]] Text convert(Bytes bytes);

  /// Whether a conversion of so many bytes writes nothing.
  [[nodiscard]] bool has_room_for(std::size_t size) const { return room_ && size <= *room_; }
  /// As `convert`, of bytes for which there is room and whose text nobody wants yet. They stay
  /// where they are until the next conversion or `finish`.
  void pass_over(std::span<const std::byte> bytes) { unwritten_ = bytes; }

  /// Writes the bytes of the last conversion, unless they are in the file.
  void finish();

 private:
  SharedState& state_;
  std::optional<std::size_t> room_;  // the most bytes that the file took; none: it may take none
  std::optional<std::span<const std::byte>> unwritten_;
  Bytes converted_;  // those of the last `convert`
};

/// `ttx` as ISO-8859-1 bytes. A character above U+00FF is error 3421.
[[nodiscard]] Bytes ttx_to_bytes(SharedState& state, TextView ttx);

[[nodiscard]] Text ttx_from_file(SharedState& state, TextView path);
void ttx_to_file(SharedState& state, TextView ttx, TextView path);

[[nodiscard]] Bytes bytes_from_file(SharedState& state, TextView path);
void bytes_to_file(SharedState& state, Bytes bytes, TextView path);

}  // namespace tarnwick
