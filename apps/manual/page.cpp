#include "apps/manual/page.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>

#include "apps/manual/roff.h"

namespace tarnwick::manual {
namespace {

constexpr std::string_view kExitCodes = "Exit codes: ";

std::vector<const CLI::App*> commands_below(const CLI::App& command) {
  return command.get_subcommands([](const CLI::App* each) { return !each->get_group().empty(); });
}

bool is_group(const CLI::App& command) { return !commands_below(command).empty(); }

const CLI::App& program_of(const CLI::App& command) {
  const CLI::App* at = &command;
  while (at->get_parent() != nullptr) at = at->get_parent();
  return *at;
}

// "tarnwick lock hold".
std::string path_of(const CLI::App& command) {
  const std::string& name = command.get_name();
  return command.get_parent() == nullptr ? name : path_of(*command.get_parent()) + " " + name;
}

// Those of one kind, but the help's own, which every command has.
std::vector<const CLI::Option*> options_of(const CLI::App& command, bool arguments) {
  return command.get_options([&](const CLI::Option* option) {
    return !option->get_group().empty() && option->get_positional() == arguments &&
           (option != command.get_help_ptr() || command.get_parent() == nullptr);
  });
}

// A check stands behind a colon: "ID:INT in [0 - 32767]", "TEXT:{bash,zsh,fish}".
std::string type_of(const CLI::Option& option) {
  if (option.get_items_expected_max() == 0) return {};
  const std::string type = option.get_type_name();
  return type.substr(0, type.find(':'));
}

std::string limits_of(const CLI::Option& option) {
  const std::string type = option.get_type_name();
  const std::size_t begin = type.find('[');
  const std::size_t end = type.find(']', begin);
  if (end == std::string::npos) return {};
  std::string limits = type.substr(begin + 1, end - begin - 1);
  const std::size_t dash = limits.find(" - ");
  if (dash != std::string::npos) limits.replace(dash, 3, " to ");
  return " From " + limits + ".";
}

std::string term_of(const CLI::Option& option) {
  if (option.get_positional()) return Roff::italic(option.get_name(true));
  std::string term;
  for (const std::string& name : CLI::detail::split(option.get_name(false, true), ',')) {
    term += (term.empty() ? "" : ", ") + Roff::bold(name);
  }
  const std::string type = type_of(option);
  return type.empty() ? term : term + " " + Roff::italic(type);
}

// A sentence of what stands as a phrase in the help.
std::string sentence(std::string phrase) {
  if (phrase.empty()) return phrase;
  if (phrase.front() >= 'a' && phrase.front() <= 'z') {
    phrase.front() = static_cast<char>(phrase.front() - 'a' + 'A');
  }
  return phrase.ends_with('.') ? phrase : phrase + ".";
}

std::string phrase(std::string sentence) {
  if (sentence.ends_with('.')) sentence.pop_back();
  const bool word = sentence.size() > 1 && sentence[1] >= 'a' && sentence[1] <= 'z';
  if (word && sentence.front() >= 'A' && sentence.front() <= 'Z') {
    sentence.front() = static_cast<char>(sentence.front() - 'A' + 'a');
  }
  return sentence;
}

std::string text_of(const CLI::Option& option) {
  std::string text = sentence(option.get_description()) + limits_of(option);
  if (!option.get_default_str().empty()) text += " Default: " + option.get_default_str() + ".";
  if (option.get_required() && !option.get_positional()) text += " Required.";
  std::string others;
  // Sorted by their names: the set they stand in is sorted by where they lie.
  std::vector<std::string> names;
  for (const CLI::Option* other : option.get_excludes()) names.push_back(other->get_name());
  std::ranges::sort(names);
  for (const std::string& name : names) others += (others.empty() ? " Not with " : ", ") + name;
  if (!others.empty()) text += others + ".";
  if (!option.get_envname().empty()) text += " Environment: " + option.get_envname() + ".";
  return text;
}

void write_options(Roff& roff, const std::vector<const CLI::Option*>& options) {
  for (const CLI::Option* option : options) roff.tagged(term_of(*option), text_of(*option));
}

std::string synopsis_of(const CLI::App& command) {
  std::string line = Roff::bold(path_of(command));
  for (const CLI::Option* option : options_of(command, false)) {
    if (option->get_required()) line += " " + term_of(*option);
  }
  if (!options_of(command, false).empty()) line += " [" + Roff::italic("OPTION") + "...]";
  for (const CLI::Option* argument : options_of(command, true)) {
    const std::string name = Roff::italic(argument->get_name(true));
    line += argument->get_required() ? " " + name : " [" + name + "]";
  }
  if (is_group(command)) line += " " + Roff::italic("COMMAND") + " ...";
  return line;
}

// The parts of a footer, without their headings.
struct Footer {
  explicit Footer(const std::string& text) {
    std::size_t at = 0;
    while (at < text.size()) {
      const std::size_t end = std::min(text.find("\n\n", at), text.size());
      take(text.substr(at, end - at));
      at = end + 2;
    }
  }
  std::string examples;
  std::vector<std::string> paragraphs;
  Terms exit_status;

 private:
  void take(const std::string& part) {
    const std::size_t heading = part.find(":\n");
    if (part.starts_with("Example") && heading != std::string::npos) {
      examples = unindented(part.substr(heading + 2));
    } else if (part.starts_with(kExitCodes)) {
      take_exit_codes(in_one_line(part.substr(kExitCodes.size())));
    } else if (part.find_first_not_of(' ') != std::string::npos) {
      paragraphs.push_back(in_one_line(part));
    }
  }

  // "0 done; 1 failed, ...; 2 ...".
  void take_exit_codes(const std::string& codes) {
    for (const std::string& each : CLI::detail::split(codes, ';')) {
      const std::string code = CLI::detail::trim_copy(each);
      const std::size_t blank = code.find(' ');
      exit_status.emplace_back(code.substr(0, blank), sentence(code.substr(blank + 1)));
    }
  }

  static std::string in_one_line(std::string text) {
    std::ranges::replace(text, '\n', ' ');
    return text;
  }

  static std::string unindented(const std::string& lines) {
    std::string result;
    for (const std::string& line : CLI::detail::split(lines, '\n')) {
      result += (result.empty() ? "" : "\n") + (line.starts_with("  ") ? line.substr(2) : line);
    }
    return result;
  }
};

// In the order of the help, with those of inner groups.
void write_command(Roff& roff, const CLI::App& command) {
  roff.subsection(Roff::bold(path_of(command)));
  roff.paragraph_of(synopsis_of(command));
  roff.paragraph(command.get_description());
  for (const std::string& alias : command.get_aliases()) {
    roff.paragraph(fmt::format("May be written {}, too.", alias));
  }
  write_options(roff, options_of(command, true));
  write_options(roff, options_of(command, false));
  for (const CLI::App* inner : commands_below(command)) write_command(roff, *inner);
}

void write_commands(Roff& roff, const CLI::App& of) {
  if (!is_group(of)) return;
  roff.section("COMMANDS");
  for (const CLI::App* command : commands_below(of)) {
    if (is_group(*command) && of.get_parent() == nullptr) {
      roff.subsection(Roff::bold(path_of(*command)));
      roff.paragraph(
          fmt::format("{} See {}(1).", sentence(command->get_description()), page_name(*command)));
    } else {
      write_command(roff, *command);
    }
  }
}

void collect_examples(const CLI::App& command, std::string& examples) {
  const Footer footer(command.get_footer());
  if (!footer.examples.empty()) examples += (examples.empty() ? "" : "\n") + footer.examples;
  for (const CLI::App* inner : commands_below(command)) {
    // Those of a group stand in its own page.
    if (command.get_parent() != nullptr || !is_group(*inner)) collect_examples(*inner, examples);
  }
}

void write_terms(Roff& roff, std::string_view heading, const Terms& terms) {
  if (terms.empty()) return;
  roff.section(heading);
  for (const auto& [term, text] : terms) roff.tagged(Roff::bold(term), text);
}

Terms environment_of(const CLI::App& program, const Terms& more) {
  Terms terms;
  for (const CLI::Option* option : options_of(program, false)) {
    if (option->get_envname().empty()) continue;
    terms.emplace_back(option->get_envname(), fmt::format("As {}.", option->get_name()));
  }
  terms.insert(terms.end(), more.begin(), more.end());
  return terms;
}

void write_see_also(Roff& roff, const std::vector<std::string>& pages) {
  roff.section("SEE ALSO");
  std::string line;
  for (const std::string& page : pages) {
    const std::size_t bracket = page.find('(');
    line += (line.empty() ? "" : ", ") + Roff::bold(page.substr(0, bracket)) + page.substr(bracket);
  }
  roff.line(line);
}

}  // namespace

std::string page_name(const CLI::App& command) {
  std::string name = path_of(command);
  std::ranges::replace(name, ' ', '-');
  return name;
}

std::string page_of(const CLI::App& command, const About& about) {
  const CLI::App& program = program_of(command);
  const bool is_program = &program == &command;
  const Footer footer(program.get_footer());

  Roff roff(page_name(command), about.section, about.version);
  roff.section("NAME");
  roff.line(fmt::format("{} \\- {}", Roff::escaped(page_name(command)),
                        Roff::escaped(phrase(command.get_description()))));
  roff.section("SYNOPSIS");
  roff.paragraph_of(synopsis_of(command));
  roff.section("DESCRIPTION");
  roff.paragraph(sentence(command.get_description()));
  if (!is_program) {
    roff.paragraph(fmt::format(
        "These commands take the switches of {}(1), too: which database, which role, how to print.",
        program.get_name()));
  }
  write_commands(roff, command);
  roff.section("OPTIONS");
  if (is_program) {
    write_options(roff, options_of(command, false));
  } else {
    roff.tagged(Roff::bold("-h") + ", " + Roff::bold("--help"),
                "Of each command: prints its own switches and arguments.");
    roff.paragraph(fmt::format("The switches of one command stand with it, those of all in {}(1).",
                               program.get_name()));
  }
  if (is_program && !footer.paragraphs.empty()) {
    roff.section("NOTES");
    for (const std::string& paragraph : footer.paragraphs) roff.paragraph(paragraph);
  }
  write_terms(roff, "EXIT STATUS",
              footer.exit_status.empty() ? about.exit_status : footer.exit_status);
  write_terms(roff, "ENVIRONMENT", environment_of(program, about.environment));
  write_terms(roff, "FILES", about.files);
  std::string examples = about.examples;
  collect_examples(command, examples);
  roff.section("EXAMPLES");
  roff.example(examples);
  write_see_also(roff, about.see_also);
  return roff.text();
}

}  // namespace tarnwick::manual
