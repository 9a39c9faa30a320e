#include "automation/dbus/clients.h"

#include <unordered_set>
#include <utility>

#include "automation/dbus/error.h"
#include "automation/dbus/names.h"

namespace tarnwick::automation::dbus {

Clients::Clients(sd_bus* bus, std::string run, std::size_t most_objects)
    : bus_(bus), most_objects_(most_objects), objects_(std::move(run)) {}

Clients::Client& Clients::client(const std::string& name) {
  const auto known = clients_.find(name);
  if (known != clients_.end()) return *known->second;

  auto made = std::make_unique<Client>();
  made->all = this;
  made->name = name;
  sd_bus_track* track = nullptr;
  check(sd_bus_track_new(bus_, &track, &Clients::on_left, made.get()), "watching a client");
  made->track.reset(track);
  // Asks the bus, which knows when the client has left already.
  const int added = past_signals([&] { return sd_bus_track_add_name(track, name.c_str()); });
  if (added < 0) throw client_has_left();
  return *clients_.emplace(name, std::move(made)).first->second;
}

int Clients::on_left(sd_bus_track*, void* userdata) {
  auto* left = static_cast<Client*>(userdata);
  Clients& all = *left->all;
  const auto entry = all.clients_.find(left->name);
  const std::unique_ptr<Client> gone = std::move(entry->second);
  all.clients_.erase(entry);
  if (!gone->lock_prompt.empty()) --all.prompts_;
  if (gone->sharing) --all.sharers_;
  if (all.lock_.client == gone->name) all.end_lock();
  if (gone->name == all.reserved_by_) all.reserved_by_.clear();
  all.objects_.release_all(gone->holder);
  return 0;
}

void Clients::check_room(const Client& client, const std::vector<Object>& objects) const {
  // The quick answer first: most calls hand out one object to a client that holds a few.
  if (client.holder.size() + objects.size() <= most_objects_) return;
  std::unordered_set<const void*> fresh;
  for (const Object& object : objects) {
    if (object && !objects_.holds(client.holder, object)) fresh.insert(object.instance.get());
  }
  if (client.holder.size() + fresh.size() <= most_objects_) return;
  throw limit_exceeded("A client may hold " + std::to_string(most_objects_) + " objects; " +
                       (client.name + " holds " + std::to_string(client.holder.size()) +
                        " and would be handed " + std::to_string(fresh.size()) +
                        " more. Release some, or read rows with GetRows"));
}

void Clients::require_room(const std::string& name) {
  const auto& holder = client(name).holder;
  if (holder.size() < most_objects_) return;
  throw limit_exceeded("A client may hold " + std::to_string(most_objects_) + " objects; " + name +
                       " holds that many. Release some");
}

std::vector<std::string> Clients::hand_out(const std::string& name, const Object& source,
                                           const std::vector<Object>& objects) {
  std::vector<Client*> takers{&client(name)};
  if (source && sharers_ > 0) {
    for (const auto& [other_name, other] : clients_) {
      if (other->sharing && other.get() != takers.front() &&
          objects_.holds(other->holder, source)) {
        takers.push_back(other.get());
      }
    }
  }
  for (const Client* taker : takers) check_room(*taker, objects);

  std::vector<std::string> paths;
  paths.reserve(objects.size());
  for (const Object& object : objects) {
    std::string path = kNothingPath;
    if (object) {
      for (Client* taker : takers) path = objects_.hand_out(taker->holder, object);
    }
    paths.push_back(std::move(path));
  }
  return paths;
}

void Clients::release_all() {
  for (const auto& [name, each] : clients_) objects_.release_all(each->holder);
}

bool Clients::release(const std::string& name, std::string_view path) {
  const auto known = clients_.find(name);
  if (known == clients_.end()) return false;
  const std::shared_ptr<void> released = objects_.find(path).instance;
  if (!objects_.release(known->second->holder, path)) return false;
  if (lock_.client == name && lock_.record.is(released)) end_lock();
  return true;
}

void Clients::set_locker(const std::string& name, const Object& record) {
  lock_ = {name, LockedRecord(record)};
}

void Clients::end_lock() { std::exchange(lock_, {}).record.release(); }

void Clients::set_sharing(const std::string& name, bool on) {
  Client& sharer = client(name);
  if (sharer.sharing == on) return;
  sharer.sharing = on;
  sharers_ = on ? sharers_ + 1 : sharers_ - 1;
}

void Clients::set_lock_prompt(const std::string& name, std::string path) {
  Client& answering = client(name);
  if (!answering.lock_prompt.empty()) --prompts_;
  if (!path.empty()) ++prompts_;
  answering.lock_prompt = std::move(path);
}

std::string Clients::lock_prompt_of(const std::string& name) const {
  const auto known = clients_.find(name);
  return known == clients_.end() ? std::string() : known->second->lock_prompt;
}

void Clients::set_last_cause(const std::string& name, FailureCause cause) {
  // Nothing need be kept to know that there is nothing.
  if (cause.kind == ado::FailureKind::kNone && !clients_.contains(name)) return;
  client(name).last_cause = std::move(cause);
}

FailureCause Clients::last_cause_of(const std::string& name) const {
  const auto known = clients_.find(name);
  return known == clients_.end() ? FailureCause() : known->second->last_cause;
}

bool Clients::reserve(const std::string& name) {
  // Watched from now on.
  const Client& reserving = client(name);
  if (reserved_by_.empty()) reserved_by_ = reserving.name;
  return reserved_by_ == reserving.name;
}

bool Clients::idle() const { return objects_.empty() && prompts_ == 0; }

}  // namespace tarnwick::automation::dbus
