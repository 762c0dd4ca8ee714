// In-process notifications by name.
//
// Handlers run on the posting thread, in order of registration. Observers are not retained; one
// that has died is skipped, one that is kept alive by nobody else lives through its handler. A
// handler may add and remove observers and post again: an observer removed during a posting is no
// longer called by it, one added during a posting is not called by it. What a handler throws goes
// to the poster; the handlers after it are not called. No lock is held during a call: a handler
// that is already running on another thread may outlast removeObserver. [any-thread]
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "platform/Export.h"
#include "platform/Object.h"
#include "platform/Value.h"

namespace platform {

struct Notification {
  std::string name;
  std::shared_ptr<Object> object;  // the sender, or null
  const Dictionary* userInfo;      // valid while the notification is being posted, or null
};

class PLATFORM_API NotificationCenter {
 public:
  static NotificationCenter& defaultCenter();
  NotificationCenter();
  ~NotificationCenter();
  NotificationCenter(const NotificationCenter&) = delete;
  NotificationCenter& operator=(const NotificationCenter&) = delete;

  // Calls `method` of `observer` for each notification called `name` that is posted by `sender`,
  // or by anybody when it is null.
  template <class T>
  void addObserver(const std::shared_ptr<T>& observer, void (T::*method)(const Notification&),
                   std::string_view name, const Object* sender = nullptr) {
    add(observer, name, sender, [method](Object& target, const Notification& notification) {
      (dynamic_cast<T&>(target).*method)(notification);
    });
  }
  template <class T>
  void addObserver(const std::shared_ptr<T>& observer, void (T::*method)(), std::string_view name,
                   const Object* sender = nullptr) {
    add(observer, name, sender,
        [method](Object& target, const Notification&) { (dynamic_cast<T&>(target).*method)(); });
  }

  // Removes every registration of the observer; may be called from its destructor.
  void removeObserver(const Object& observer);

  void post(std::string_view name, std::shared_ptr<Object> object = nullptr,
            const Dictionary* userInfo = nullptr);

 private:
  using Call = std::function<void(Object&, const Notification&)>;
  void add(std::weak_ptr<Object> observer, std::string_view name, const Object* sender, Call call);
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace platform
