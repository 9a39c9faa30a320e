#include "reports/report_payload.h"

#include <utility>

#include "platform/file_system.h"

namespace tarnwick {
namespace {

// ISO-8859-1 gives every byte a character, so that a payload reads back as it was written.
constexpr TextView kLatin1 = u"iso-8859-1";

ado::Stream& opened(std::shared_ptr<ado::Stream>& stream, ado::StreamType type) {
  prepare_stream(stream);
  stream->set_type(type);
  stream->open();
  return *stream;
}

Text read_latin1_file(ado::Stream& stream, const std::filesystem::path& file) {
  stream.set_charset(kLatin1);
  stream.load_from_file(file);
  Text text = stream.read_text(ado::kReadAll);
  stream.close();
  return text;
}

ado::Stream& stream_of(SharedState& state, Bytes bytes) {
  ado::Stream& binary = opened(state.stream, ado::StreamType::kBinary);
  binary.write(std::move(bytes));
  return binary;
}

void save_as_ttx_bin(SharedState& state, ado::Stream& binary) {
  const std::filesystem::path file = state.host.folder() / "TTX.bin";
  // The file is this program's own: nobody's link leads elsewhere.
  std::error_code ignored;
  if (std::filesystem::is_symlink(file, ignored)) std::filesystem::remove(file, ignored);
  binary.save_to_file(file, ado::SaveOption::kCreateOverWrite);
}

// Out of memory, not out of the file: that has the same bytes, unless another process wrote to it
// meanwhile.
Text as_latin1(ado::Stream& binary) {
  binary.set_position(0);
  binary.set_type(ado::StreamType::kText);
  binary.set_charset(kLatin1);
  Text text = binary.read_text(ado::kReadAll);
  binary.close();
  return text;
}

}  // namespace

void prepare_stream(std::shared_ptr<ado::Stream>& stream) {
  if (stream == nullptr) {
    stream = std::make_shared<ado::Stream>();
  } else if (stream->state() == ado::ObjectState::kOpen) {
    stream->close();
  }
}

Text ttx_from_bytes(SharedState& state, Bytes bytes) {
  ado::Stream& binary = stream_of(state, std::move(bytes));
  save_as_ttx_bin(state, binary);
  return as_latin1(binary);
}

Text TtxConversions::convert(Bytes bytes) {
  if (has_room_for(bytes.size())) {
    converted_ = bytes;
    unwritten_ = converted_;
    return as_latin1(stream_of(state_, std::move(bytes)));
  }
  room_.reset();
  const std::size_t size = bytes.size();
  Text text = ttx_from_bytes(state_, std::move(bytes));
  room_ = size;
  unwritten_.reset();
  return text;
}

void TtxConversions::finish() {
  if (!unwritten_) return;
  ado::Stream& binary = stream_of(state_, Bytes(unwritten_->begin(), unwritten_->end()));
  unwritten_.reset();
  save_as_ttx_bin(state_, binary);
  binary.close();
}

Bytes ttx_to_bytes(SharedState& state, TextView ttx) {
  ado::Stream& text = opened(state.stream, ado::StreamType::kText);
  text.set_charset(kLatin1);
  text.write_text(ttx);
  text.set_position(0);
  std::shared_ptr<ado::Stream> local;
  ado::Stream& binary = opened(local, ado::StreamType::kBinary);
  text.copy_to(binary, ado::kReadAll);
  binary.set_position(0);
  Bytes bytes = binary.read(ado::kReadAll);
  binary.close();
  text.close();
  return bytes;
}

Text ttx_from_file(SharedState& state, TextView path) {
  return read_latin1_file(opened(state.stream, ado::StreamType::kText),
                          platform::to_native_path(path));
}

void ttx_to_file(SharedState& state, TextView ttx, TextView path) {
  ado::Stream& text = opened(state.stream, ado::StreamType::kText);
  text.set_charset(kLatin1);
  text.write_text(ttx);
  text.save_to_file(platform::to_native_path(path), ado::SaveOption::kCreateOverWrite);
  text.close();
}

Bytes bytes_from_file(SharedState& state, TextView path) {
  ado::Stream& binary = opened(state.stream, ado::StreamType::kBinary);
  binary.load_from_file(platform::to_native_path(path));
  Bytes bytes = binary.read(ado::kReadAll);
  binary.close();
  return bytes;
}

void bytes_to_file(SharedState& state, Bytes bytes, TextView path) {
  ado::Stream& binary = stream_of(state, std::move(bytes));
  binary.save_to_file(platform::to_native_path(path), ado::SaveOption::kCreateOverWrite);
  binary.close();
}

}  // namespace tarnwick
