#include "ado/stream_file.h"

#include <random>
#include <string>

namespace tarnwick::ado {

AdoError file_error(AdoErrorNumber number, const std::filesystem::path& file,
                    const std::error_code& reason) {
  return file_error(number, file, from_stored_utf8(reason.message()));
}

AdoError file_error(AdoErrorNumber number, const std::filesystem::path& file, TextView reason) {
  const std::u8string path = file.u8string();
  return AdoError(number,
                  join({description_of(number), u" '",
                        from_stored_utf8({reinterpret_cast<const char*>(path.data()), path.size()}),
                        u"': ", reason, u"."}));
}

std::filesystem::path temporary_beside(const std::filesystem::path& file) {
  std::random_device random;
  return file.parent_path() /
         (".tarnwick-" + std::to_string(random()) + "-" + std::to_string(random()) + ".tmp");
}

}  // namespace tarnwick::ado
