#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "client/transport.h"
#include "tests/model/reference_model.h"
#include "tests/support/embedded_database.h"

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
  /// Whether the database can be made to fail from here.
  [[nodiscard]] virtual bool has_failing_database() const { return false; }
  virtual void refuse_next_commit() {}
  virtual void cut_connections() {}
  /// Whether it stamps rows with the time and the computer's name as they are.
  [[nodiscard]] virtual bool has_own_time() const { return false; }
  [[nodiscard]] virtual Traits traits() const { return {}; }
  /// At once, and in the middle of whatever it holds. Nothing but the end of this object follows.
  virtual void kill() {}
  AnsweringBox box;
};

/// How processes are made: in this very process, or as a service on a bus of its own.
using MakeProcess = std::unique_ptr<PlayedProcess> (*)();
[[nodiscard]] std::unique_ptr<PlayedProcess> make_process_in_here();
[[nodiscard]] std::unique_ptr<PlayedProcess> make_process_on_a_bus();

/// The system as something that steps are played on: what ReferenceModel does, done by clients of
/// the real one, on a fresh embedded database.
class PlayedSystem {
 public:
  explicit PlayedSystem(MakeProcess make);

  /// What came of it. `answers`: those of the reference model.
  Sight play(const Step& step, const std::vector<Answer>& answers);
  [[nodiscard]] Sight look();
  /// Whether the step can be played at all.
  [[nodiscard]] bool can(const Step& step) const;
  [[nodiscard]] Traits traits() const { return sides_.front().process->traits(); }

 private:
  // What a process's clients hold.
  struct Side {
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

  MakeProcess make_;
  test_support::EmbeddedDatabase database_;
  test_support::PlainSqlite outside_ = database_.open_plainly();
  test_support::TemporaryFolder payloads_;
  std::vector<Side> sides_;
};

}  // namespace tarnwick::model
