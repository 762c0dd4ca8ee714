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
  nothingThrown,
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
  runtimeMode,
  identity,
  itemStates,
  parameterData,
  commandData,
  commandReceivers,
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
  listenerTold,
  pictureDrawn,
  moviePlayed,
  count
};

enum class Outcome { skipped, passed, failed };

class Findings {
 public:
  static Findings& shared();

  // All is written to the file that MOVARA_VALIDATE_HOST_REPORT names (JSON lines if it ends in
  // .json), or else to standard error.

  // Begins the report, if nothing has yet: until it is complete, it says that it is not.
  void begin() EXCLUDES(mutex_);
  // One look at what a check is about. The first failure stays, with its reason, and is written at
  // once: no host is sure to end in order. A check that was never looked at is skipped. Returns
  // `holds`.
  bool note(Check check, bool holds, const std::string& reason) EXCLUDES(mutex_);
  // Why nothing has been seen of a check, where more is known than the table says.
  void explain(Check check, const std::string& reason) EXCLUDES(mutex_);
  // Writes a line for each check, in a file in the place of what is there; nothing when nothing has
  // changed since.
  void report() EXCLUDES(mutex_);

 private:
  struct Finding {
    Outcome outcome = Outcome::skipped;
    std::string reason;
  };
  void beginOnce() REQUIRES(mutex_);

  platform::Mutex mutex_;
  std::array<Finding, static_cast<std::size_t>(Check::count)> findings_ GUARDED_BY(mutex_);
  bool begun_ GUARDED_BY(mutex_) = false;
  bool changed_ GUARDED_BY(mutex_) = true;
};

}  // namespace hostcheck
