#include "tests/ado/fake_engine.h"

namespace tarnwick::ado {
namespace {

class FakeRowset final : public Rowset {
 public:
  FakeRowset(FakeEngine& engine, std::shared_ptr<int> live, std::vector<Column> columns)
      : engine_(engine), live_(std::move(live)), columns_(std::move(columns)) {
    ++*live_;
  }
  ~FakeRowset() override {
    --*live_;
    engine_.calls.emplace_back("end-rowset");
  }

  const std::vector<Column>& columns() const override { return columns_; }

  void fetch(RowBuffer& rows, std::size_t limit) override {
    engine_.record(limit == 1 ? "fetch 1" : "fetch all");
    for (std::size_t count = 0; count < limit && next_ < engine_.rows.size(); ++count) {
      for (const Variant& value : engine_.rows[next_]) add(rows, value);
      rows.end_row();
      ++next_;
    }
  }

  void update(std::span<const Cell> row, std::span<const Assignment> assigned) override {
    engine_.record("update where " + describe(row[0].to_variant()) + describe(assigned));
    for (auto& stored : engine_.rows) {
      if (stored[0] != row[0].to_variant()) continue;
      for (const Assignment& assignment : assigned) stored[assignment.column] = *assignment.value;
      return;
    }
    throw AdoError(AdoErrorNumber::kRowNotLocated);
  }

  void insert(std::span<const Assignment> assigned) override {
    engine_.record("insert" + describe(assigned));
    std::vector<Variant> row(columns_.size(), Null{});
    for (const Assignment& assignment : assigned) row[assignment.column] = *assignment.value;
    engine_.rows.push_back(std::move(row));
  }

 private:
  static void add(RowBuffer& rows, const Variant& value) {
    if (const auto* text = std::get_if<Text>(&value)) {
      rows.add_utf16(*text);
    } else if (const auto* number = std::get_if<std::int32_t>(&value)) {
      rows.add_int32(*number);
    } else {
      rows.add_null();
    }
  }

  static std::string describe(const Variant& value) {
    if (const auto* text = std::get_if<Text>(&value)) return to_utf8(*text);
    if (const auto* number = std::get_if<std::int32_t>(&value)) return std::to_string(*number);
    return is_null(value) ? "null" : "other";
  }

  std::string describe(std::span<const Assignment> assigned) const {
    std::string result;
    for (const Assignment& assignment : assigned) {
      result += " " + to_utf8(columns_[assignment.column].name) + "=" + describe(*assignment.value);
    }
    return result;
  }

  FakeEngine& engine_;
  std::shared_ptr<int> live_;
  std::vector<Column> columns_;
  std::size_t next_ = 0;
};

class FakeSession final : public EngineSession {
 public:
  explicit FakeSession(FakeEngine& engine) : engine_(engine) { ++engine_.live_sessions; }
  ~FakeSession() override {
    --engine_.live_sessions;
    engine_.orphaned_rowsets += *live_rowsets_;
    engine_.calls.emplace_back("end-session");
  }

  void set_default_database(TextView name) override {
    engine_.record("default-database " + to_utf8(name));
  }
  void execute(TextView statement) override { engine_.record("execute " + to_utf8(statement)); }
  std::unique_ptr<Rowset> open(const RowsetRequest& request) override {
    engine_.record("open " + to_utf8(request.statement) + (request.locks_rows() ? " locking" : ""));
    const bool has_records = request.statement.starts_with(u"Select");
    return std::make_unique<FakeRowset>(engine_, live_rowsets_,
                                        has_records ? engine_.columns : std::vector<Column>());
  }
  void begin() override { engine_.record("begin"); }
  void commit() override { engine_.record("commit"); }
  void rollback() override { engine_.record("rollback"); }
  bool alive() override { return engine_.alive; }
  std::optional<std::vector<Text>> columns_of(TextView /*table*/) override {
    return engine_.table_columns;
  }
  std::vector<HeldRow> held_rows() override {
    engine_.record("held-rows");
    return {{.table = u"Things", .key = u"one", .stamp = u"HOST - now", .process_id = 7}};
  }

 private:
  FakeEngine& engine_;
  std::shared_ptr<int> live_rowsets_ = std::make_shared<int>(0);
};

}  // namespace

std::span<const TextView> FakeEngine::providers() const {
  static constexpr TextView kProviders[] = {u"Fake", u"Fake.2"};
  return kProviders;
}

std::unique_ptr<EngineSession> FakeEngine::connect(const ConnectionString& string) {
  record("connect");
  connected_with = string.items();
  return std::make_unique<FakeSession>(*this);
}

void FakeEngine::record(const std::string& call) {
  calls.push_back(call);
  const auto failure = failures.find(call.substr(0, call.find(' ')));
  if (failure != failures.end()) failure->second();
}

}  // namespace tarnwick::ado
