#include "platform/NotificationCenter.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <map>
#include <new>
#include <utility>
#include <vector>

#include "platform/Mutex.h"

namespace platform {

namespace {

struct Registration {
  Registration(std::weak_ptr<Object> observerToCall, const Object* observerAddress,
               const Object* senderToHear,
               std::function<void(Object&, const Notification&)> handler)
      : observer(std::move(observerToCall)),
        address(observerAddress),
        sender(senderToHear),
        call(std::move(handler)) {
    if (sender != nullptr) senderLife = sender->weak_from_this();
  }

  // A dead sender's address may have become another object's.
  bool hears(const Object* posted) const {
    return sender == nullptr || (sender == posted && !senderLife.expired());
  }

  const std::weak_ptr<Object> observer;
  const Object* const address;  // also known when the observer is being destroyed
  const Object* const sender;
  std::weak_ptr<const Object> senderLife;
  const std::function<void(Object&, const Notification&)> call;
  std::atomic<bool> removed{false};
};

using Registrations = std::vector<std::shared_ptr<Registration>>;

std::shared_ptr<const Registrations> stillHeard(const Registrations& all) {
  auto kept = std::make_shared<Registrations>();
  std::copy_if(all.begin(), all.end(), std::back_inserter(*kept), [](const auto& registration) {
    return !registration->removed && !registration->observer.expired();
  });
  return kept;
}

}  // namespace

// A posting goes through the list as it was when it began; whoever changes a list puts a new one in
// its place.
struct NotificationCenter::Impl {
  Mutex mutex;
  std::map<std::string, std::shared_ptr<const Registrations>, std::less<>> byName GUARDED_BY(mutex);
};

NotificationCenter& NotificationCenter::defaultCenter() {
  // Never destroyed: observers in other binaries may remove themselves later than this one ends.
  static auto* const center = new NotificationCenter;
  return *center;
}

NotificationCenter::NotificationCenter() : impl_(std::make_unique<Impl>()) {}

NotificationCenter::~NotificationCenter() = default;

void NotificationCenter::add(std::weak_ptr<Object> observer, std::string_view name,
                             const Object* sender, Call call) {
  const Object* const address = observer.lock().get();
  if (address == nullptr) return;
  const auto added =
      std::make_shared<Registration>(std::move(observer), address, sender, std::move(call));
  const Lock lock(impl_->mutex);
  const auto found = impl_->byName.find(name);
  auto changed = found != impl_->byName.end() ? std::make_shared<Registrations>(*found->second)
                                              : std::make_shared<Registrations>();
  changed->push_back(added);
  impl_->byName.insert_or_assign(std::string(name), std::move(changed));
}

void NotificationCenter::removeObserver(const Object& observer) {
  const Lock lock(impl_->mutex);
  for (const auto& [name, current] : impl_->byName) {
    for (const auto& registration : *current) {
      if (registration->address == &observer) registration->removed = true;
    }
  }
  try {
    for (auto& [name, current] : impl_->byName) current = stillHeard(*current);
  } catch (const std::bad_alloc&) {
    // Removed they are; the lists get shorter another time.
  }
}

void NotificationCenter::post(std::string_view name, std::shared_ptr<Object> object,
                              const Dictionary* userInfo) {
  std::shared_ptr<const Registrations> registrations;
  {
    const Lock lock(impl_->mutex);
    const auto found = impl_->byName.find(name);
    if (found == impl_->byName.end()) return;
    registrations = found->second;
  }
  const Notification notification{std::string(name), std::move(object), userInfo};
  for (const auto& registration : *registrations) {
    if (registration->removed || !registration->hears(notification.object.get())) continue;
    if (const auto observer = registration->observer.lock()) {
      registration->call(*observer, notification);
    }
  }
}

}  // namespace platform
