// The steps that a random run is made of, each as it is done to the model and to the module.
#pragma once

#include <cstddef>
#include <iosfwd>
#include <span>

#include "validator/model/Subject.h"

namespace model {

struct Kind {
  const char* name;
  std::size_t weight;            // how often, against the others
  int arguments;                 // the argument is one of 0 to this, exclusive
  int (*expected)(Model&, int);  // the answer
  int (*act)(Subject&, int);     // the answer
};

std::span<const Kind> kinds();

struct Step {
  std::size_t kind = 0;
  int argument = 0;
};

std::ostream& operator<<(std::ostream& out, const Step& step);
std::ostream& operator<<(std::ostream& out, const World& world);
std::ostream& operator<<(std::ostream& out, const Look& look);

}  // namespace model
