#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "ado/engine.h"
#include "ado/error.h"

namespace tarnwick::model {

/// An engine, but that no session ever waits for a lock, that a commit is refused where that was
/// asked for, and that sessions can be cut.
class FailingEngine final : public ado::Engine {
 public:
  explicit FailingEngine(std::unique_ptr<ado::Engine> inner) : inner_(std::move(inner)) {}

  /// The next commit of any session fails; its transaction stays open.
  void refuse_next_commit() { refusing_ = true; }

  /// All sessions end here and now, as where a server drops its clients; whoever uses one learns
  /// it.
  void cut_connections() {
    for (const auto& each : lines_) {
      if (const auto line = each.lock()) line->cut();
    }
    lines_.clear();
  }

  [[nodiscard]] std::span<const TextView> providers() const override { return inner_->providers(); }
  [[nodiscard]] std::unique_ptr<ado::EngineSession> connect(
      const ado::ConnectionString& string) override {
    auto line = std::make_shared<Line>();
    line->session = inner_->connect(string);
    lines_.push_back(line);
    return std::make_unique<Session>(std::move(line), refusing_);
  }

 private:
  /// A session, and the rowsets that live on it.
  struct Line {
    std::unique_ptr<ado::EngineSession> session;
    std::vector<std::weak_ptr<std::unique_ptr<ado::Rowset>>> rowsets;

    void cut() {
      for (const auto& each : rowsets) {
        if (const auto rowset = each.lock()) rowset->reset();
      }
      session.reset();
    }
  };

  template <class T>
  static T& uncut(const std::unique_ptr<T>& held) {
    if (held != nullptr) return *held;
    throw ado::ConnectionLost(ado::AdoErrorNumber::kUnspecified, u"The connection is cut.");
  }

  class Rowset final : public ado::Rowset {
   public:
    explicit Rowset(std::shared_ptr<std::unique_ptr<ado::Rowset>> inner)
        : inner_(std::move(inner)), columns_((*inner_)->columns()) {}

    [[nodiscard]] const std::vector<ado::Column>& columns() const override { return columns_; }
    void fetch(ado::RowBuffer& rows, std::size_t limit) override {
      uncut(*inner_).fetch(rows, limit);
    }
    void update(std::span<const ado::Cell> row,
                std::span<const ado::Assignment> assigned) override {
      uncut(*inner_).update(row, assigned);
    }
    void insert(std::span<const ado::Assignment> assigned) override {
      uncut(*inner_).insert(assigned);
    }

   private:
    std::shared_ptr<std::unique_ptr<ado::Rowset>> inner_;
    std::vector<ado::Column> columns_;
  };

  class Session final : public ado::EngineSession {
   public:
    Session(std::shared_ptr<Line> line, bool& refusing)
        : line_(std::move(line)), refusing_(refusing) {}

    void set_default_database(TextView name) override { inner().set_default_database(name); }
    void execute(TextView statement) override {
      inner().execute(statement.starts_with(u"SET LOCK_TIMEOUT ") ? u"SET LOCK_TIMEOUT 0"
                                                                  : statement);
    }
    [[nodiscard]] std::unique_ptr<ado::Rowset> open(const ado::RowsetRequest& request) override {
      auto rowset = std::make_shared<std::unique_ptr<ado::Rowset>>(inner().open(request));
      std::erase_if(line_->rowsets, [](const auto& each) { return each.expired(); });
      line_->rowsets.push_back(rowset);
      return std::make_unique<Rowset>(std::move(rowset));
    }
    void begin() override { inner().begin(); }
    void begin_load() override { inner().begin_load(); }
    void commit() override {
      ado::EngineSession& session = inner();
      if (std::exchange(refusing_, false)) {
        throw ado::AdoError(ado::AdoErrorNumber::kUnspecified, u"database or disk is full", 0, {},
                            ado::FailureKind::kDiskFull);
      }
      session.commit();
    }
    void rollback() override { inner().rollback(); }
    [[nodiscard]] bool alive() override { return line_->session != nullptr && inner().alive(); }
    [[nodiscard]] std::optional<std::vector<Text>> columns_of(TextView table) override {
      return inner().columns_of(table);
    }
    [[nodiscard]] std::vector<ado::HeldRow> held_rows() override { return inner().held_rows(); }
    [[nodiscard]] std::optional<ado::HeldRow> holder_of(const ado::RowName& row) override {
      return inner().holder_of(row);
    }
    [[nodiscard]] Text byte_length_of(TextView column) override {
      return inner().byte_length_of(column);
    }

   private:
    [[nodiscard]] ado::EngineSession& inner() const { return uncut(line_->session); }

    std::shared_ptr<Line> line_;
    bool& refusing_;
  };

  std::unique_ptr<ado::Engine> inner_;
  bool refusing_ = false;
  std::vector<std::weak_ptr<Line>> lines_;
};

}  // namespace tarnwick::model
