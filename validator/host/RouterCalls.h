// The host's router as an object uses it: sends requests, checks what comes back.
// [main-thread; sample also delivery-thread]
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "mmp/RequestRecords.h"
#include "ucf/IUCFMsgRouter.h"
#include "ucf/Types.h"

namespace hostcheck {

class RouterCalls {
 public:
  // Null for a container without a router: nothing is sent then. Asks for session and source id.
  RouterCalls(IUCFMsgRouter* router, UCFCtx context);

  const tagMSHead& ids() const { return ids_; }
  // Whether another participant has these ids, too.
  void checkSameDocument(const tagMSHead& others) const;
  // From here on the host may refuse: channel or session are gone.
  void expectRefusals() { refusalsExpected_ = true; }

  // SVS_MSG_START_SESSION and others that carry nothing.
  void tell(unsigned long type);
  // Whether the answer lets a presenter's file be opened.
  bool askSessionProbe();
  // The same once the session has been joined: the answer must be yes, then.
  bool askToOpenFile();
  // Empty if the host does not know.
  std::optional<std::uint32_t> askChannelStatus();
  bool askPlayAllowed();

  void registerChannel(MM_MEDIASTREAMING_CHANNLE_TYPE channel, std::uint64_t duration);
  void unregisterChannel(MM_MEDIASTREAMING_CHANNLE_TYPE channel);
  void sourceStatus(MM_MEDIASTREAMING_CHANNLE_TYPE channel, MM_MEDIASTREAMING_SOURCE_STATUS status,
                    std::int64_t positionMs = 0);
  void mediaFormat(MM_MEDIASTREAMING_MEDIATYPE type, void* format, std::size_t size);
  // 0 withdraws the view.
  void setRender(std::uint64_t view);
  void updateRender(std::uint64_t view);
  void volume(std::uint16_t level);
  // One picture or block of sound, its format behind pFormat.
  void sample(tagMSDataStructure record);

 private:
  void askIds(UCFCtx context);
  bool ask(tagQuery& query);
  UCFResult route(unsigned long command, void* record, std::size_t size);
  template <class Record>
  void request(unsigned long command, Record& record) {
    expectTaken("request " + std::to_string(command), route(command, &record, sizeof record));
  }
  void expectTaken(const std::string& what, UCFResult result) const;
  bool mayRefuse() const { return router_ == nullptr || refusalsExpected_; }

  IUCFMsgRouter* const router_;
  tagMSHead ids_{};
  std::atomic<bool> refusalsExpected_{false};
};

}  // namespace hostcheck
