// A case of the contract: a GoogleTest case with its level and one line of what it protects.
#pragma once

#include <gtest/gtest.h>

#include <vector>

#include "validator/Case.h"
#include "validator/cases/Printers.h"

namespace validator {

// All that the program holds.
inline std::vector<Case>& cases() {
  static std::vector<Case> all;
  return all;
}

struct CaseEntry {
  CaseEntry(const char* name, Level level, const char* protects) {
    cases().push_back({name, level, protects});
  }
};

}  // namespace validator

#define CONTRACT_CASE(Fixture, Name, level, protects)                                              \
  static const ::validator::CaseEntry entryOf##Fixture##Name(#Fixture "." #Name,                   \
                                                             ::validator::Level::level, protects); \
  TEST_F(Fixture, Name)
