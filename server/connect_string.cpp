#include "server/connect_string.h"

#include "runtime/case_mapping.h"

namespace tarnwick {
namespace {

constexpr TextView kServices = u"OLE DB Services";

// Cuts the item that begins at `position`, with the ";" in front of it.
Text without_item(TextView text, std::size_t position) {
  TextView before = text.substr(0, position);
  while (before.ends_with(u' ')) before.remove_suffix(1);
  if (before.ends_with(u';')) before.remove_suffix(1);
  const std::size_t end = text.find(u';', position);
  return join({before, end == TextView::npos ? TextView() : text.substr(end)});
}

}  // namespace

Text without_ole_db_services(TextView connect_string) {
  Text text(connect_string);
  for (;;) {
    const std::size_t position = find_ignoring_case(text, kServices);
    if (position == Text::npos) break;
    text = without_item(text, position);
  }
  const std::size_t first = text.find(u';');
  if (first == Text::npos) return join({text, u";", kServices, u"=-2"});
  const TextView all = text;
  return join({all.substr(0, first + 1), kServices, u"=-2;", all.substr(first + 1)});
}

}  // namespace tarnwick
