#pragma once

#include <string>
#include <string_view>

namespace tarnwick::manual {

/// Writes one manual page in the macros of man(7).
class Roff final {
 public:
  /// `section`: "1", "8".
  Roff(std::string_view name, std::string_view section, std::string_view version);

  void section(std::string_view heading);
  void subsection(std::string_view heading);
  void paragraph(std::string_view text);
  /// The same of what is roff itself: see bold, italic.
  void paragraph_of(std::string_view roff);
  /// A paragraph under a term, which is roff itself.
  void tagged(std::string_view term, std::string_view text);
  /// A line that stands for itself, as roff.
  void line(std::string_view roff);
  /// Lines as they are typed.
  void example(std::string_view lines);

  [[nodiscard]] const std::string& text() const { return text_; }

  /// `text` as what is shown, whatever it holds.
  [[nodiscard]] static std::string escaped(std::string_view text);
  [[nodiscard]] static std::string bold(std::string_view text);
  [[nodiscard]] static std::string italic(std::string_view text);

 private:
  void begin_paragraph();

  std::string text_;
  bool after_heading_ = false;
};

}  // namespace tarnwick::manual
