#include "apps/tarnwick/files/json_records.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>

#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/options.h"
#include "platform/file_system.h"
#include "runtime/error.h"

namespace tarnwick::cli {
namespace {

using Json = nlohmann::ordered_json;

/// Walks through a text and counts its lines: the parser tells no positions.
class CountingIterator {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = const char&;

  CountingIterator(const char* at, std::size_t* line) : at_(at), line_(line) {}
  reference operator*() const { return *at_; }
  CountingIterator& operator++() {
    if (*at_++ == '\n') ++*line_;
    return *this;
  }
  friend bool operator==(const CountingIterator& a, const CountingIterator& b) {
    return a.at_ == b.at_;
  }

 private:
  const char* at_;
  std::size_t* line_;
};

/// Takes what the parser finds in the file. A value is told to stand in the line of its name.
class RecordHandler final : public nlohmann::json_sax<Json> {
 public:
  RecordHandler(const std::filesystem::path& file, const std::size_t& line)
      : file_(file), line_(line) {}

  [[nodiscard]] std::vector<RawRecord> take() { return std::move(records_); }

  bool null() override { return add(nullptr); }
  bool boolean(bool value) override { return add(value); }
  bool number_integer(number_integer_t value) override { return add(value); }
  bool number_unsigned(number_unsigned_t value) override { return add(value); }
  bool number_float(number_float_t value, const string_t&) override { return add(value); }
  bool string(string_t& value) override { return add(std::move(value)); }
  bool binary(binary_t&) override { refuse_shape(); }

  bool start_array(std::size_t) override {
    if (within_ != Within::kNothing) refuse_shape();
    within_ = Within::kArray;
    return true;
  }
  bool end_array() override { return true; }
  bool start_object(std::size_t) override {
    if (within_ != Within::kArray) refuse_shape();
    within_ = Within::kRecord;
    records_.push_back({.fields = {}, .line = line_});
    return true;
  }
  bool end_object() override {
    within_ = Within::kArray;
    return true;
  }
  bool key(string_t& name) override {
    auto& fields = records_.back().fields;
    if (std::ranges::find(fields, name, &RawRecord::Field::name) != fields.end()) {
      refuse_line(file_, line_, fmt::format("{} stands in the record twice", name));
    }
    fields.push_back({std::move(name), nullptr, line_});
    return true;
  }
  bool parse_error(std::size_t, const std::string&,
                   const nlohmann::detail::exception& error) override {
    throw Failure(ExitCode::kFailed, fmt::format("The file '{}' is not JSON: {}",
                                                 platform::path_to_utf8(file_), error.what()));
  }

 private:
  enum class Within : std::uint8_t { kNothing, kArray, kRecord };

  bool add(Json value) {
    if (within_ != Within::kRecord) refuse_shape();
    records_.back().fields.back().value = std::move(value);
    return true;
  }
  [[noreturn]] void refuse_shape() const {
    if (within_ != Within::kRecord) refuse_line(file_, line_, "it is no array of objects");
    const RawRecord::Field& field = records_.back().fields.back();
    refuse_line(file_, field.line,
                fmt::format("{} is an array or an object, but must be a single value", field.name));
  }

  const std::filesystem::path& file_;
  const std::size_t& line_;
  Within within_ = Within::kNothing;
  std::vector<RawRecord> records_;
};

void require_utf8(const std::filesystem::path& file, std::string_view content) {
  for (std::size_t line = 1; !content.empty(); ++line) {
    const std::size_t end = std::min(content.find('\n'), content.size() - 1);
    try {
      static_cast<void>(from_utf8(content.substr(0, end + 1)));
    } catch (const Error&) {
      refuse_line(file, line, "it is not UTF-8");
    }
    content.remove_prefix(end + 1);
  }
}

}  // namespace

void refuse_line(const std::filesystem::path& file, std::size_t line, const std::string& what) {
  throw Failure(ExitCode::kFailed, fmt::format("The file '{}', line {}: {}.",
                                               platform::path_to_utf8(file), line, what));
}

std::string read_bytes(const std::filesystem::path& file) {
  std::error_code unknown;
  if (std::filesystem::is_regular_file(file, unknown)) return content_of(file, ExitCode::kFailed);
  throw Failure(ExitCode::kFailed,
                fmt::format("The file '{}' cannot be read.", platform::path_to_utf8(file)));
}

std::string read_utf8_file(const std::filesystem::path& file) {
  std::string content = read_bytes(file);
  if (content.starts_with("\xFF\xFE") || content.starts_with("\xFE\xFF")) {
    throw Failure(ExitCode::kFailed, fmt::format("The file '{}' is UTF-16, but must be UTF-8.",
                                                 platform::path_to_utf8(file)));
  }
  if (content.starts_with("\xEF\xBB\xBF")) content.erase(0, 3);
  require_utf8(file, content);
  return content;
}

std::vector<RawRecord> read_json_records(const std::filesystem::path& file) {
  const std::string content = read_utf8_file(file);
  std::size_t line = 1;
  std::size_t unused = 0;
  RecordHandler handler(file, line);
  Json::sax_parse(CountingIterator(content.data(), &line),
                  CountingIterator(content.data() + content.size(), &unused), &handler);
  return handler.take();
}

}  // namespace tarnwick::cli
