#include "apps/tarnwick/session/released_at_end.h"

#include <list>
#include <mutex>
#include <utility>

namespace tarnwick::cli {
namespace {

using automation::Class;
using automation::Member;
using automation::Object;
using automation::Value;

// Held during each call. Never destroyed: the thread that ends the process lives as long as it.
struct Held {
  std::recursive_mutex mutex;
  std::list<std::unique_ptr<client::Transport>> transports;
  std::list<std::shared_ptr<void>> instances;
};
Held& held() {
  static auto* const all = new Held;
  return *all;
}

using Lock = std::lock_guard<std::recursive_mutex>;

// The same object, whose instance stands in the list as long as anybody has it.
Object kept(const Object& object) {
  if (!object) return object;
  const auto place = held().instances.insert(held().instances.end(), object.instance);
  const std::shared_ptr<void> token(nullptr, [place](void*) {
    const Lock lock(held().mutex);
    held().instances.erase(place);
  });
  return {object.class_id, std::shared_ptr<void>(token, object.instance.get())};
}

class ReleasedAtEnd final : public client::Transport {
 public:
  ReleasedAtEnd(std::unique_ptr<Transport> inner, BeforeLock before_lock)
      : inner_(inner.get()), before_lock_(std::move(before_lock)) {
    const Lock lock(held().mutex);
    place_ = held().transports.insert(held().transports.end(), std::move(inner));
  }
  ~ReleasedAtEnd() override {
    const Lock lock(held().mutex);
    held().transports.erase(place_);
  }
  ReleasedAtEnd(const ReleasedAtEnd&) = delete;
  ReleasedAtEnd& operator=(const ReleasedAtEnd&) = delete;

  Object create(const Class& of) override {
    const Lock lock(held().mutex);
    return kept(inner_->create(of));
  }
  Value call(const Object& object, const Member& member,
             const std::vector<Value>& arguments) override {
    if (member.name == "LockRecord") before_lock_(*this, object);
    const Lock lock(held().mutex);
    Value result = inner_->call(object, member, arguments);
    if (auto* handed_out = std::get_if<Object>(&result)) *handed_out = kept(*handed_out);
    return result;
  }
  std::vector<Object> call_for_all(const Object& object, const Member& member,
                                   const std::vector<Value>& arguments) override {
    const Lock lock(held().mutex);
    std::vector<Object> entries = inner_->call_for_all(object, member, arguments);
    for (Object& entry : entries) entry = kept(entry);
    return entries;
  }
  void let(const Object& object, const Member& member, const Value& value) override {
    const Lock lock(held().mutex);
    inner_->let(object, member, value);
  }
  client::Row read(const Object& record) override {
    const Lock lock(held().mutex);
    return inner_->read(record);
  }
  std::vector<client::Row> rows(const Object& collection) override {
    const Lock lock(held().mutex);
    return inner_->rows(collection);
  }
  UpdateErrorEnum insert(const Object& record, TextView report_file) override {
    const Lock lock(held().mutex);
    return inner_->insert(record, report_file);
  }
  std::vector<PcKey> find_pcs(TextView name) override {
    const Lock lock(held().mutex);
    return inner_->find_pcs(name);
  }
  Look look(const Object& record) override {
    const Lock lock(held().mutex);
    return inner_->look(record);
  }
  std::vector<StoredReportFile> stored_report_files() override {
    const Lock lock(held().mutex);
    return inner_->stored_report_files();
  }
  FailureCause last_cause() override {
    const Lock lock(held().mutex);
    return inner_->last_cause();
  }
  void clear_last_cause() override {
    const Lock lock(held().mutex);
    inner_->clear_last_cause();
  }

 private:
  Transport* inner_;
  BeforeLock before_lock_;
  std::list<std::unique_ptr<Transport>>::iterator place_;
};

}  // namespace

std::unique_ptr<client::Transport> released_at_end(std::unique_ptr<client::Transport> inner,
                                                   BeforeLock before_lock) {
  return std::make_unique<ReleasedAtEnd>(std::move(inner), std::move(before_lock));
}

void release_all_for_good() {
  held().mutex.lock();
  held().instances.clear();
  held().transports.clear();
}

}  // namespace tarnwick::cli
