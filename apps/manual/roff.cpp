#include "apps/manual/roff.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <utility>

namespace tarnwick::manual {
namespace {

// Typed as they are they would become typographic characters, or roff's own.
constexpr std::array<std::pair<char, std::string_view>, 7> kNames{{{'\\', "\\e"},
                                                                   {'-', "\\-"},
                                                                   {'\'', "\\(aq"},
                                                                   {'`', "\\(ga"},
                                                                   {'^', "\\(ha"},
                                                                   {'~', "\\(ti"},
                                                                   {'"', "\\(dq"}}};

// At the beginning of a line these would make a request of it.
std::string protected_line(std::string line) {
  if (line.starts_with('.') || line.starts_with('\'')) line.insert(0, "\\&");
  return line;
}

std::string upper(std::string_view text) {
  std::string result(text);
  std::ranges::transform(result, result.begin(),
                         [](char c) { return c >= 'a' && c <= 'z' ? char(c - 'a' + 'A') : c; });
  return result;
}

}  // namespace

Roff::Roff(std::string_view name, std::string_view section, std::string_view version) {
  line(fmt::format(R"(.TH "{}" "{}" "" "Tarnwick {}" "Tarnwick")", upper(escaped(name)), section,
                   version));
  // Neither hyphens nor stretched blanks: names are to be found and copied.
  line(".nh");
  line(".ad l");
}

void Roff::section(std::string_view heading) {
  line(fmt::format(".SH {}", heading));
  after_heading_ = true;
}

void Roff::subsection(std::string_view heading) {
  line(fmt::format(".SS {}", heading));
  after_heading_ = true;
}

void Roff::begin_paragraph() {
  if (!after_heading_) line(".PP");
}

void Roff::paragraph(std::string_view text) {
  begin_paragraph();
  line(protected_line(escaped(text)));
}

void Roff::paragraph_of(std::string_view roff) {
  begin_paragraph();
  line(roff);
}

void Roff::tagged(std::string_view term, std::string_view text) {
  line(".TP");
  line(term);
  line(protected_line(escaped(text)));
}

void Roff::line(std::string_view roff) {
  text_ += roff;
  text_ += '\n';
  after_heading_ = false;
}

void Roff::example(std::string_view lines) {
  begin_paragraph();
  line(".nf");
  line(".RS 4");
  while (!lines.empty()) {
    const std::size_t end = std::min(lines.find('\n'), lines.size());
    line(protected_line(escaped(lines.substr(0, end))));
    lines.remove_prefix(std::min(end + 1, lines.size()));
  }
  line(".RE");
  line(".fi");
}

std::string Roff::escaped(std::string_view text) {
  std::string result;
  for (const char c : text) {
    const auto* named = std::ranges::find(kNames, c, &std::pair<char, std::string_view>::first);
    if (named == kNames.end()) {
      result += c;
    } else {
      result += named->second;
    }
  }
  return result;
}

std::string Roff::bold(std::string_view text) { return "\\fB" + escaped(text) + "\\fR"; }

std::string Roff::italic(std::string_view text) { return "\\fI" + escaped(text) + "\\fR"; }

}  // namespace tarnwick::manual
