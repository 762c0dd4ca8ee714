// Says how a case went, for the program that has started this one: a line of JSON for each reason,
// and one for the outcome.
#pragma once

#include <gtest/gtest.h>

#include <ostream>

namespace validator {

class Report final : public testing::EmptyTestEventListener {
 public:
  // `out` lives as long as the cases run.
  explicit Report(std::ostream& out) : out_(out) {}

 private:
  void OnTestPartResult(const testing::TestPartResult& part) override;
  void OnTestEnd(const testing::TestInfo& info) override;

  std::ostream& out_;
};

}  // namespace validator
