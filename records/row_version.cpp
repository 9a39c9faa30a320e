#include "records/row_version.h"

#include "runtime/conversions.h"

namespace tarnwick {
namespace {

constexpr TextView kDigits = u"0123456789ABCDEF";

Text hexadecimal(char16_t code) {
  Text digits;
  for (unsigned rest = code; rest != 0; rest >>= 4)
    digits.insert(digits.begin(), kDigits[rest & 15]);
  return digits;
}

}  // namespace

Text pad_left(TextView text, std::int16_t width, char16_t fill) {
  const TextView trimmed = trim(text);
  const auto wanted = static_cast<std::size_t>(width < 0 ? 0 : width);
  const std::size_t missing = wanted > trimmed.size() ? wanted - trimmed.size() : 0;
  Text padded(missing, fill);
  padded += trimmed;
  return padded;
}

Text row_version_to_hex(TextView version) {
  Text hex;
  for (const char16_t character : version) hex += pad_left(hexadecimal(character), 2, u'0');
  return hex;
}

Text row_version_text(const Variant& column) {
  if (is_null(column)) return {};
  const Bytes* bytes = std::get_if<Bytes>(&column);
  if (bytes == nullptr) return row_version_to_hex(to_text(column));
  // Two digits a byte, without the detour over characters: every row that is loaded comes by here.
  Text hex;
  hex.reserve(bytes->size() * 2);
  for (const std::byte byte : *bytes) {
    const auto code = std::to_integer<unsigned>(byte);
    hex += kDigits[code >> 4];
    hex += kDigits[code & 15];
  }
  return hex;
}

}  // namespace tarnwick
