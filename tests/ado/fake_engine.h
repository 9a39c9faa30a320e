#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ado/engine.h"
#include "ado/error.h"
#include "ado/trace.h"

namespace tarnwick::ado {

/// An engine over one table in memory that does as little as the interface lets it: all rules that
/// the tests see are those of Connection and Recordset. It writes down what it is asked for, and
/// fails where it is told to.
class FakeEngine final : public Engine {
 public:
  std::vector<Column> columns{{u"Name"}, {u"Title"}, {u"Version"}};
  std::vector<std::vector<Variant>> rows;

  /// What was asked for, in order, one call each.
  std::vector<std::string> calls;
  /// Calls, by their first word, that fail: the function throws.
  std::map<std::string, std::function<void()>> failures;
  /// What a session says of itself, and of the columns of any table.
  bool alive = true;
  std::optional<std::vector<Text>> table_columns;
  /// Rowsets that lived when their session died. Has to stay 0.
  int orphaned_rowsets = 0;
  int live_sessions = 0;
  std::vector<ConnectionString::Item> connected_with;

  void fail(const std::string& call, AdoErrorNumber number) {
    failures[call] = [number] { throw AdoError(number, u"failed"); };
  }
  void lose_connection_at(const std::string& call) {
    failures[call] = [] { throw ConnectionLost(AdoErrorNumber::kUnspecified, u"gone"); };
  }

  [[nodiscard]] std::span<const TextView> providers() const override;
  [[nodiscard]] std::unique_ptr<EngineSession> connect(const ConnectionString& string) override;

  void record(const std::string& call);
};

/// The lines of a trace, as UTF-8.
class TraceLines final : public Trace {
 public:
  std::vector<std::string> lines;
  void line(TextView text) override { lines.push_back(to_utf8(text)); }
};

}  // namespace tarnwick::ado
