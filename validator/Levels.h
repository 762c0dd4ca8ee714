// How far a check of a plug-in goes: each level adds its cases to those below it.
#pragma once

#include <span>

namespace validator {

enum class Level : int {
  loads = 1,
  exports,
  slots,
  life,
  messages,
  records,
  inside,
  threads,
  endings,
  sequences,
};

struct LevelText {
  Level level;
  const char* name;
  const char* adds;  // what its cases look at, one line
};

// All of them, ascending.
std::span<const LevelText> levelTexts();

}  // namespace validator
