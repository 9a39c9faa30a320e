#pragma once

#include <cstdint>
#include <filesystem>
#include <span>

#include "ado/enums.h"
#include "runtime/variant.h"

namespace tarnwick::ado {

/// A buffer of bytes or text in memory, with ADO's rules. In text mode the bytes are those of the
/// text in `charset`; "iso-8859-1" (the default: a text without a chosen character set is Latin-1
/// here), "utf-8" and "unicode" (UTF-16, little endian) are known. Not thread-safe.
/// All but `set_type`, `type`, `state`, `open` and `charset`: error 3704 when closed.
class Stream final {
 public:
  /// Error 3219 unless closed or at position 0. A new stream is kText.
  void set_type(StreamType value);
  [[nodiscard]] StreamType type() const { return type_; }

  /// Error 3001 for an unknown name; 3219 unless closed or at position 0. Survives `close`.
  void set_charset(TextView name);
  [[nodiscard]] const Text& charset() const { return charset_; }

  /// Opens empty. Error 3705 when open.
  void open();
  /// Drops the content. Error 3704 when closed.
  void close();
  [[nodiscard]] ObjectState state() const { return state_; }

  /// In bytes from the start. Setting it behind the end: error 3001.
  [[nodiscard]] std::int64_t position() const;
  void set_position(std::int64_t value);
  [[nodiscard]] std::int64_t size() const;

  /// Binary mode only (3219 otherwise): puts `bytes` at the position and moves behind them.
  void write(std::span<const std::byte> bytes);
  /// Binary mode only: up to `count` bytes (kReadAll: the rest) from the position; moves behind them.
  [[nodiscard]] Bytes read(std::int64_t count = kReadAll);

  /// Text mode only (3219 otherwise). A character that the character set does not have is error
  /// 3421: nothing is written in its place.
  void write_text(TextView text);
  /// Text mode only: up to `characters` characters (UTF-16 units) from the position. A byte order
  /// mark at the start is passed over in the Unicode character sets.
  [[nodiscard]] Text read_text(std::int64_t characters = kReadAll);

  /// Copies up to `count` units (bytes in binary mode, characters in text mode; kReadAll: the rest)
  /// from the position to that of `target`, and moves both. A text stream copies its bytes into a
  /// binary target, a text target gets its characters.
  void copy_to(Stream& target, std::int64_t count = kReadAll);

  /// Replaces the content by the file's; position 0. Error 3002 when the file cannot be opened,
  /// 3003 when it cannot be read; the content is unchanged then.
  void load_from_file(const std::filesystem::path& file);
  /// Writes the whole content; the position goes to 0. kCreateNotExist: error 3004 when the file is there.
  /// Error 3004 when it cannot be written: a regular file that was there keeps its content (the new
  /// content goes to a file beside it first).
  void save_to_file(const std::filesystem::path& file,
                    SaveOption option = SaveOption::kCreateNotExist);

 private:
  StreamType type_ = StreamType::kText;
  Text charset_ = u"iso-8859-1";
  ObjectState state_ = ObjectState::kClosed;
  Bytes content_;
  std::size_t position_ = 0;
};

}  // namespace tarnwick::ado
