// An object that writes down the messages it gets, and can be told what else to do then.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/Object.h"
#include "platform/Value.h"

class Recorder : public platform::Object {
 public:
  void note(const platform::Value& argument) { record(argument.description()); }
  void noteOther(const platform::Value& argument) { record("other " + argument.description()); }
  void tick() { record("tick"); }

  std::function<void()> onMessage = [] {};
  std::vector<std::string> messages;

 private:
  void record(std::string message) {
    messages.push_back(std::move(message));
    onMessage();
  }
};
