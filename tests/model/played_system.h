#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "client/transport.h"
#include "tests/model/reference_model.h"
#include "tests/support/temporary_folder.h"

namespace tarnwick::model {

/// Answers the questions of locked rows as the reference model answered them.
class AnsweringBox final : public platform::MessageBox {
 public:
  platform::Answer retry_or_cancel(TextView text, TextView title, std::uint32_t) override;
  void inform(TextView, TextView) override { ++asked; }

  std::deque<Answer> answers;
  /// Has the row given back by who stands at that place.
  std::function<void(int process, int place)> give_back;
  std::function<void(int process)> kill;
  int asked = 0;
};

/// A server process that steps are played on.
class PlayedProcess {
 public:
  virtual ~PlayedProcess() = default;
  [[nodiscard]] virtual client::Transport& transport() = 0;
  virtual void refuse_next_commit() {}
  virtual void cut_connections() {}
  /// Whether it stamps rows with the time and the computer's name as they are.
  [[nodiscard]] virtual bool has_own_time() const { return false; }
  [[nodiscard]] virtual ProcessTraits traits() const { return {}; }
  /// At once, and in the middle of whatever it holds. Nothing but the end of this object follows.
  virtual void kill() {}
  AnsweringBox box;
};

/// A database without rows, and another program that writes to it and reads it.
class PlayedDatabase {
 public:
  virtual ~PlayedDatabase() = default;
  /// What SetConnection is told: a connection string, a role and its password.
  [[nodiscard]] virtual std::vector<client::Value> login() const = 0;
  [[nodiscard]] virtual Text string_of_no_database() const = 0;
  /// One of the steps from kInsertRow to kSpoilRow.
  virtual void write(const Step& step) = 0;
  virtual void add_stored_rows(Sight& sight) = 0;
  [[nodiscard]] virtual DatabaseTraits traits() const { return {}; }
};

/// What is played on.
struct Stage {
  std::unique_ptr<PlayedProcess> (*make_process)(int number);
  std::unique_ptr<PlayedDatabase> (*make_database)();
};
/// Processes in this very process, on an embedded database.
extern const Stage kInHere;
/// Services on buses of their own, on an embedded database.
extern const Stage kOnBuses;
/// Processes in this very process, on what stands in for SQL Server.
extern const Stage kOnSqlServer;
/// The registered server on COM, beside a process in this very process, on an embedded database.
extern const Stage kOverCom;

/// A stage by its name among the words of a command line.
struct NamedStage {
  const char* name;
  const Stage* stage;
};
/// Those that this system has.
[[nodiscard]] std::span<const NamedStage> stages();

/// The system as something that steps are played on: what ReferenceModel does, done by clients of
/// the real one, on a fresh database.
class PlayedSystem {
 public:
  explicit PlayedSystem(const Stage& stage);

  /// What came of it. `answers`: those of the reference model.
  Sight play(const Step& step, const std::vector<Answer>& answers);
  [[nodiscard]] Sight look();
  /// Whether the step can be played at all.
  [[nodiscard]] bool can(const Step& step) const;
  [[nodiscard]] Traits traits() const;

 private:
  // What a process's clients hold.
  struct Side {
    int number = 0;
    std::unique_ptr<PlayedProcess> process;
    std::array<client::Object, kServers> servers;
    std::array<client::Object, kPlaces> places;
  };

  void start(Side& side);
  void kill(Side& side);

  Sight carry_out(Side& side, const Step& step);
  Sight of_server(Side& side, const Step& step);
  Sight of_collection(Side& side, const Step& step);
  Sight of_record(Side& side, const Step& step);

  /// With stamps and dates of the present as the vocabulary has them.
  [[nodiscard]] Sight settled(Sight sight) const;
  [[nodiscard]] std::string path_of(const std::string& file) const;
  [[nodiscard]] client::Object collection_of(Side& side, int kind) const;

  const Stage& stage_;
  std::unique_ptr<PlayedDatabase> database_ = stage_.make_database();
  test_support::TemporaryFolder payloads_;
  std::vector<Side> sides_;
};

}  // namespace tarnwick::model
