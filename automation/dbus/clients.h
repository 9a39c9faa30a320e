#pragma once

#include <systemd/sd-bus.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "automation/dbus/handles.h"
#include "automation/dbus/object_table.h"
#include "automation/locked_record.h"
#include "state/failures.h"

namespace tarnwick::automation::dbus {

/// The clients of the bus that hold objects or answer questions. What a client holds ends when it
/// leaves the bus, in whatever way. `bus` must outlive this.
class Clients {
 public:
  /// `most_objects`: what one client may hold at once.
  Clients(sd_bus* bus, std::string run, std::size_t most_objects);

  [[nodiscard]] const ObjectTable& objects() const { return objects_; }

  /// Throws WireError when `client` has left the bus; notices from now on when it does.
  void watch(const std::string& client) { (void)this->client(client); }

  /// Throws WireError when `client` cannot be handed one object more.
  void require_room(const std::string& client);

  /// Lets `client` hold the objects, and whoever shares `source` too, which is what they were found
  /// through (Nothing: they were created). All or none; the paths stand in order, "/" for Nothing.
  /// Throws WireError when one of them would hold too many, or when `client` has left the bus.
  std::vector<std::string> hand_out(const std::string& client, const Object& source,
                                    const std::vector<Object>& objects);

  /// Ends all that anybody holds.
  void release_all();

  /// False when `client` does not hold the object at `path`. Ends its lock too, if it was this
  /// client that locked it.
  bool release(const std::string& client, std::string_view path);

  /// It was a call of `client`, which is watched, that locked `record`: the lock ends when the
  /// client gives the record up or leaves, though others may hold it. One process has one lock at
  /// most.
  void set_locker(const std::string& client, const Object& record);

  /// Whether `client` also gets to hold what others are handed through its objects.
  void set_sharing(const std::string& client, bool on);

  /// Where `client` answers questions: the path of its object that exports the LockPrompt
  /// interface. Empty where it answers none.
  void set_lock_prompt(const std::string& client, std::string path);
  [[nodiscard]] std::string lock_prompt_of(const std::string& client) const;

  /// The cause of the last failure that a call of `client` left; of kind kNone where there is none.
  /// Setting it throws WireError when `client` has left the bus.
  void set_last_cause(const std::string& client, FailureCause cause);
  [[nodiscard]] FailureCause last_cause_of(const std::string& client) const;

  /// Lets `client` alone reserve the service until it leaves the bus. False when another one has.
  [[nodiscard]] bool reserve(const std::string& client);

  /// No client holds anything, and none waits for questions.
  [[nodiscard]] bool idle() const;

 private:
  struct Client {
    Clients* all = nullptr;
    std::string name;
    TrackHandle track;
    ObjectTable::Holder holder;
    std::string lock_prompt;
    bool sharing = false;
    FailureCause last_cause;
  };

  struct Lock {
    std::string client;
    LockedRecord record;
  };

  Client& client(const std::string& name);
  void end_lock();
  void check_room(const Client& client, const std::vector<Object>& objects) const;
  static int on_left(sd_bus_track* track, void* userdata);

  sd_bus* bus_;
  std::size_t most_objects_;
  ObjectTable objects_;
  std::unordered_map<std::string, std::unique_ptr<Client>> clients_;
  Lock lock_;
  std::size_t prompts_ = 0;
  std::size_t sharers_ = 0;
  std::string reserved_by_;  // unique name
};

}  // namespace tarnwick::automation::dbus
