// What is checked of a host, and what became of each check. One of them for the whole module.
// [any-thread]
#pragma once

#include <array>
#include <cstddef>
#include <string>

#include "platform/Mutex.h"

namespace hostcheck {

// In the order of the table in Checks.cpp.
enum class Check {
  versionAsked,
  initializeFirst,
  exportsOnMainThread,
  createArguments,
  cleanupLast,
  callsOnMainThread,
  messagesOnMainThread,
  nothingAfterRelease,
  activationOrder,
  viewUsable,
  viewKept,
  interfacesServed,
  unknownRefused,
  filePath,
  refusalLeavesAlone,
  variantsFreed,
  sharedProperties,
  ownDocument,
  role,
  identity,
  itemStates,
  parameterData,
  commandData,
  noEcho,
  sessionIds,
  requestsTaken,
  queryAnswers,
  recordsUntouched,
  samplesReturn,
  knownMessages,
  statusFields,
  channelOrder,
  renderWithdrawn,
  count
};

enum class Outcome { skipped, passed, failed };

class Findings {
 public:
  static Findings& shared();

  // One look at what a check is about. The first failure stays, with its reason; a check that was
  // never looked at is skipped. Returns `holds`.
  bool note(Check check, bool holds, const std::string& reason) EXCLUDES(mutex_);

  // Writes a line for each check to the file that MOVARA_VALIDATE_HOST_REPORT names (JSON lines if
  // it ends in .json), or else to standard error; nothing when nothing has changed since.
  void report() EXCLUDES(mutex_);

 private:
  struct Finding {
    Outcome outcome = Outcome::skipped;
    std::string reason;
  };
  std::string text(bool json) const REQUIRES(mutex_);

  platform::Mutex mutex_;
  std::array<Finding, static_cast<std::size_t>(Check::count)> findings_ GUARDED_BY(mutex_);
  bool changed_ GUARDED_BY(mutex_) = true;
};

}  // namespace hostcheck
