#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>

#include "runtime/text.h"

namespace tarnwick::test_support {

/// A file that is there and cannot be read, while this lives.
class UnreadableFile {
 public:
  UnreadableFile();
  ~UnreadableFile();
  UnreadableFile(const UnreadableFile&) = delete;
  UnreadableFile& operator=(const UnreadableFile&) = delete;

  [[nodiscard]] std::filesystem::path path() const;
  /// As the object model takes it.
  [[nodiscard]] Text path_text() const;
  /// The error that loading a stream from it ends with.
  [[nodiscard]] std::int32_t number() const;
  [[nodiscard]] Text description() const;

 private:
  struct System;
  std::unique_ptr<System> system_;
};

}  // namespace tarnwick::test_support
