#include "tests/stand_in/stand_in.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <system_error>

namespace tarnwick::test_support {
namespace {

[[noreturn]] void fail(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

std::array<int, 2> make_pipe() {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) fail("pipe2");
  return ends;
}

std::string read_line(int file) {
  std::string line;
  for (char c = 0; read(file, &c, 1) == 1 && c != '\n';) line += c;
  return line;
}

}  // namespace

StandIn::StandIn() {
  // The driver manager reads its lists once; every test of a program names the same one.
  static const TemporaryFolder lists;
  static const auto list = lists.write("odbcinst.ini", "[FreeTDS]\nDriver=libtdsodbc.so\n");
  setenv("ODBCSYSINI", lists.path().c_str(), 1);
  setenv("ODBCINI", "/dev/null", 1);

  const auto to_server = make_pipe();
  const auto from_server = make_pipe();
  const std::string log = (folder_.path() / "log").string();
  process_ = fork();
  if (process_ < 0) fail("fork");
  if (process_ == 0) {
    dup2(to_server[0], STDIN_FILENO);
    dup2(from_server[1], STDOUT_FILENO);
    execlp("python3", "python3", STAND_IN, "--log", log.c_str(), nullptr);
    _exit(127);
  }
  close(to_server[0]);
  close(from_server[1]);
  input_ = to_server[1];
  const std::string line = read_line(from_server[0]);
  close(from_server[0]);
  if (!line.starts_with("port ")) throw std::runtime_error("the stand-in does not start");
  port_ = line.substr(5);
}

StandIn::~StandIn() {
  end();
  close(input_);
}

void StandIn::freeze() {
  kill(process_, SIGSTOP);
  // It is stopped only once the system says so.
  waitpid(process_, nullptr, WUNTRACED);
}

void StandIn::end() {
  if (process_ < 0) return;
  kill(process_, SIGKILL);
  waitpid(process_, nullptr, 0);
  process_ = -1;
}

Text StandIn::data_source() const { return join({u"127.0.0.1,", from_utf8(port_)}); }

Text StandIn::connection_string() const {
  return join({u"Provider=MSOLEDBSQL;Data Source=", data_source(), u";User ID=", kUser,
               u";Password=", kPassword});
}

void StandIn::make_database() {
  run(u"CREATE DATABASE Velmar_Sec");
  std::ifstream file(SQLSERVER_SCHEMA);
  if (!file) throw std::runtime_error("no " SQLSERVER_SCHEMA);
  const auto session = engine_.connect(ado::ConnectionString::parse(connection_string()));
  session->set_default_database(u"Velmar_Sec");
  std::string batch;
  for (std::string line; std::getline(file, line);) {
    if (line != "GO") {
      batch += line + '\n';
      continue;
    }
    const std::string variable = "$(RolePassword)";
    if (const std::size_t at = batch.find(variable); at != std::string::npos) {
      batch.replace(at, variable.size(), to_utf8(kRolePassword));
    }
    session->execute(from_utf8(batch));
    batch.clear();
  }
  (void)take_log();
}

void StandIn::order(TextView fault) { run(join({u"STAND_IN ", fault})); }

void StandIn::run(TextView statement) {
  engine_.connect(ado::ConnectionString::parse(connection_string()))->execute(statement);
}

std::vector<std::string> StandIn::take_log() {
  std::ifstream file(folder_.path() / "log");
  file.seekg(static_cast<std::streamoff>(read_));
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) {
    read_ += line.size() + 1;
    lines.push_back(line.substr(line.find(' ') + 1));
  }
  return lines;
}

}  // namespace tarnwick::test_support
