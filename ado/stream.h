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

  /// Any letter case. Error 3001 for an unknown name; 3219 unless closed or at position 0. Survives
  /// `close`.
  void set_charset(TextView name);
  [[nodiscard]] const Text& charset() const { return charset_; }

  /// Opens empty. Error 3705 when open.
  void open();
  /// Drops the content. Error 3704 when closed.
  void close();
  [[nodiscard]] ObjectState state() const { return state_; }

  /// In bytes from the start. Setting it below 0 or behind the end: error 3001.
  [[nodiscard]] std::int64_t position() const;
  void set_position(std::int64_t value);
  [[nodiscard]] std::int64_t size() const;

  /// Binary mode only (3219 otherwise): puts `bytes` at the position, over what is there, and moves
  /// behind them.
  void write(std::span<const std::byte> bytes);
  /// The same; an empty stream shares `bytes` and does not copy them.
  void write(Bytes&& bytes);
  /// Binary mode only: up to `count` bytes (kReadAll: the rest) from the position; moves behind
  /// them. The whole content is shared, not copied. Error 3001 for a negative count other than
  /// kReadAll, here and in read_text and copy_to.
  [[nodiscard]] Bytes read(std::int64_t count = kReadAll);
  /// Text mode only (3219 otherwise): puts `text` at the position, over what is there, and moves
  /// behind it. The first text of an empty stream gets a byte order mark before it in the Unicode
  /// character sets. Error 3421 for a character that the character set does not have: nothing is
  /// written then.
  void write_text(TextView text);
  /// Text mode only: up to `characters` characters (UTF-16 units; a surrogate pair is not split but
  /// read when its first half fits) from the position. A byte order mark at the start is passed
  /// over in the Unicode character sets; bytes that are no UTF-8 read as U+FFFD.
  [[nodiscard]] Text read_text(std::int64_t characters = kReadAll);

  /// Copies up to `count` units (bytes in binary mode, characters in text mode; kReadAll: the rest)
  /// from the position to that of `target`, and moves both. A text stream copies its bytes into a
  /// binary target, a text target gets its characters. Error 3219 for a binary stream with a text
  /// target, and for a stream with itself.
  void copy_to(Stream& target, std::int64_t count = kReadAll);

  /// Replaces the content by the file's; position 0. Error 3002 when the file cannot be opened or
  /// is no regular file (a pipe, a device, a folder), 3003 when it cannot be read or is larger than
  /// kMostFileBytes (ado/stream_file.h); the content is unchanged then.
  void load_from_file(const std::filesystem::path& file);
  /// Writes the whole content; the position goes to 0. kCreateNotExist: error 3004 when the file is
  /// there. Error 3004 when it cannot be written, or when what is there is no regular file, which a
  /// symbolic link is not either. A file that was there keeps its content until the new one is
  /// whole, and its permissions for good.
  void save_to_file(const std::filesystem::path& file,
                    SaveOption option = SaveOption::kCreateNotExist);

 private:
  enum class Charset { kLatin1, kUtf8, kUtf16 };

  void require_open() const;
  void require_type(StreamType type) const;
  void require_movable() const;
  [[nodiscard]] std::span<const std::byte> rest() const;
  /// Bytes from the position that hold up to `characters` characters.
  [[nodiscard]] std::span<const std::byte> next_characters(std::int64_t characters) const;
  void put(std::span<const std::byte> bytes);

  StreamType type_ = StreamType::kText;
  Text charset_ = u"iso-8859-1";
  Charset encoding_ = Charset::kLatin1;
  ObjectState state_ = ObjectState::kClosed;
  Bytes content_;
  std::size_t position_ = 0;
};

}  // namespace tarnwick::ado
