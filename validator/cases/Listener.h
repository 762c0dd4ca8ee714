// The client's notifications in a test: heard, and posted.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/NotificationCenter.h"
#include "platform/Object.h"
#include "platform/Value.h"

// Notes the notifications of the names that it is given.
class Listener final : public platform::Object {
 public:
  static std::shared_ptr<Listener> to(std::initializer_list<const char*> names) {
    auto self = std::make_shared<Listener>();
    for (const char* name : names) {
      platform::NotificationCenter::defaultCenter().addObserver(self, &Listener::heard, name);
    }
    return self;
  }
  ~Listener() override { platform::NotificationCenter::defaultCenter().removeObserver(*this); }
  void heard(const platform::Notification& notification) {
    names.push_back(notification.name);
    sender = notification.object.get();
  }
  std::vector<std::string> names;
  const platform::Object* sender = nullptr;
};

inline void postNotification(const char* name, const platform::Dictionary& userInfo) {
  platform::NotificationCenter::defaultCenter().post(name, nullptr, &userInfo);
}
