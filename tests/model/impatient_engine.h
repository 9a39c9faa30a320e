#pragma once

#include <memory>
#include <utility>

#include "ado/error.h"
#include "engines/sqlite/engine.h"

namespace tarnwick::model {

/// The embedded engine, but that no session ever waits for a lock, and that a commit is refused
/// where that was asked for.
class ImpatientEngine final : public ado::Engine {
 public:
  /// The next commit of any session fails; its transaction stays open.
  void refuse_next_commit() { refusing_ = true; }

  [[nodiscard]] std::span<const TextView> providers() const override { return inner_.providers(); }
  [[nodiscard]] std::unique_ptr<ado::EngineSession> connect(
      const ado::ConnectionString& string) override {
    return std::make_unique<Session>(inner_.connect(string), refusing_);
  }

 private:
  class Session final : public ado::EngineSession {
   public:
    Session(std::unique_ptr<ado::EngineSession> inner, bool& refusing)
        : inner_(std::move(inner)), refusing_(refusing) {}

    void set_default_database(TextView name) override { inner_->set_default_database(name); }
    void execute(TextView statement) override {
      inner_->execute(statement.starts_with(u"SET LOCK_TIMEOUT ") ? u"SET LOCK_TIMEOUT 0"
                                                                  : statement);
    }
    [[nodiscard]] std::unique_ptr<ado::Rowset> open(const ado::RowsetRequest& request) override {
      return inner_->open(request);
    }
    void begin() override { inner_->begin(); }
    void begin_load() override { inner_->begin_load(); }
    void commit() override {
      if (std::exchange(refusing_, false)) {
        throw ado::AdoError(ado::AdoErrorNumber::kUnspecified, u"database or disk is full");
      }
      inner_->commit();
    }
    void rollback() override { inner_->rollback(); }
    [[nodiscard]] bool alive() override { return inner_->alive(); }
    [[nodiscard]] std::optional<std::vector<Text>> columns_of(TextView table) override {
      return inner_->columns_of(table);
    }
    [[nodiscard]] std::vector<ado::HeldRow> held_rows() override { return inner_->held_rows(); }
    [[nodiscard]] std::optional<ado::HeldRow> holder_of(const ado::RowName& row) override {
      return inner_->holder_of(row);
    }
    [[nodiscard]] Text byte_length_of(TextView column) override {
      return inner_->byte_length_of(column);
    }

   private:
    std::unique_ptr<ado::EngineSession> inner_;
    bool& refusing_;
  };

  sqlite::SqliteEngine inner_;
  bool refusing_ = false;
};

}  // namespace tarnwick::model
