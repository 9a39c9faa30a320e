#include <iostream>
#include <string>

#include "tests/stand_in/stand_in.h"

// The stand-in with the database Velmar_Sec, for tests that are no C++: prints the connection
// string of the administrator and serves until its input ends.
int main() {
  tarnwick::test_support::StandIn server;
  server.make_database();
  std::cout << tarnwick::to_utf8(server.connection_string()) << std::endl;
  std::string ignored;
  while (std::getline(std::cin, ignored)) {
  }
}
