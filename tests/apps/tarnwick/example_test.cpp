#include "tests/apps/tarnwick/command_line_test.h"

namespace tarnwick::cli {
namespace {

using ::testing::HasSubstr;

/// The examples that the help gives, as somebody would try them who has just begun.
class Examples : public CommandLineTest {
 protected:
  void SetUp() override {
    CommandLineTest::SetUp();
    for (const char* file :
         {"returns.sql", "returns.ttx", "returns.rpt", "open-orders.rpt", "open-orders.ttx"}) {
      folder_.write(file, "content");
    }
    folder_.write("new-password", "mellon\n");
    program("tarnwick", std::string("exec '") + TARNWICK + "' \"$@\"");
    program("nano",
            "sed -i 's/\"Active\": false/\"Active\": true/; s/\"Active\": true/\"Active\": "
            "false/; s/\"Title\": \"/&New /' \"$1\"");
  }

  void program(const std::string& name, const std::string& script) const {
    const auto file = folder_.write("bin/" + name, "#!/bin/sh\n" + script + "\n");
    std::filesystem::permissions(file, std::filesystem::perms::owner_all);
  }

  /// The commands below `command`, as its help lists them.
  static std::vector<std::string> commands_below(const std::string& help) {
    std::vector<std::string> names;
    bool listed = false;
    for (const std::string& line : lines_of(help)) {
      if (line == "Subcommands:") {
        listed = true;
      } else if (listed && line.starts_with("  ") && !line.starts_with("   ")) {
        names.push_back(line.substr(2, line.find_first_of(" ,", 2) - 2));
      } else if (listed && !line.starts_with("  ")) {
        break;
      }
    }
    return names;
  }

  /// The help of every command, by its words.
  static std::map<std::vector<std::string>, std::string> all_help() {
    std::map<std::vector<std::string>, std::string> all;
    std::vector<std::vector<std::string>> left{{}};
    while (!left.empty()) {
      const std::vector<std::string> command = left.back();
      left.pop_back();
      std::vector<std::string> arguments = command;
      arguments.push_back("--help");
      const std::string help = run_with({}, arguments).out;
      all[command] = help;
      for (const std::string& name : commands_below(help)) {
        left.push_back(command);
        left.back().push_back(name);
      }
    }
    return all;
  }

  static std::string example_in(const std::string& help) {
    const std::string heading = "\nExample:\n";
    const std::size_t at = help.find(heading);
    return at == std::string::npos ? std::string() : help.substr(at + heading.size());
  }

  /// Runs `script` on sample data of its own.
  void try_out(const std::string& script) const {
    SCOPED_TRACE(script);
    const auto database = folder_.path() / "tried";
    std::filesystem::remove_all(database);
    std::filesystem::copy(database_folder_, database);
    program("try", "set -e\n" + script);
    std::string command = "cd '" + folder_.path().string() + "' && env PATH='" +
                          (folder_.path() / "bin").string() + "':\"$PATH\" EDITOR=nano";
    std::map<std::string, std::string> variables = environment();
    variables["TARNWICK_CONNECT"] = "Provider=Tarnwick.Embedded;Data Source=" + database.string();
    variables.erase("EDITOR");
    for (const auto& [name, value] : variables) command += " '" + name + "=" + value + "'";
    command += " ./bin/try </dev/null >out 2>err";
    EXPECT_EQ(std::system(command.c_str()), 0) << content_of(folder_.path() / "err");
  }
};

TEST_F(Examples, OfEveryCommandWorkOnTheSampleData) {
  std::size_t tried = 0;
  for (const auto& [command, help] : all_help()) {
    const std::string example = example_in(help);
    // The target of a copy is a server that is not there.
    if (example.empty() || command == std::vector<std::string>{"copy"}) continue;
    try_out(example);
    ++tried;
  }
  EXPECT_GE(tried, 20u);
}

TEST_F(Examples, OfTheWholeProgramWorkOneAfterTheOther) {
  const std::string help = all_help()[{}];
  const std::size_t begin = help.find("Examples:\n") + 10;
  program("jq", "cat");
  try_out(help.substr(begin, help.find("\n\n", begin) - begin));
  EXPECT_THAT(content_of(folder_.path() / "out"), HasSubstr("Open Orders"));
}

}  // namespace
}  // namespace tarnwick::cli
