// The presenter's end of the stream: checks each request and hands what it carries to the
// document's stream. [main-thread; media data also delivery-thread]
#pragma once

#include <memory>

#include "meeting/DocumentStream.h"
#include "meeting/MultimediaPlatform.h"
#include "mmp/RequestRecords.h"
#include "platform/Mutex.h"

namespace meeting {

class PresenterChannel final : public PresenterPort {
 public:
  PresenterChannel(std::shared_ptr<DocumentStream> stream, std::weak_ptr<PlatformPeer> peer);
  ~PresenterChannel() override;
  PresenterChannel(const PresenterChannel&) = delete;
  PresenterChannel& operator=(const PresenterChannel&) = delete;

  UCFResult request(unsigned long type, unsigned long uMsg, void* record) override;
  void lose() override;

 private:
  UCFResult command(unsigned long uMsg, void* record);
  bool take(unsigned long uMsg, const void* record);
  bool registerSource(const tagMSRegisterInfo& info);
  bool unregister(const tagMSUnRegisterInfo& info);
  bool sourceStatus(const tagMSSourceStatus& status);
  bool mediaFormat(const tagMSMediaFormat& record);
  bool mediaData(const tagMSDataStructure& data) EXCLUDES(gate_);
  bool carry(const tagMSDataStructure& data);
  void close();
  bool isOurs(const tagMSHead& head) const;
  // Answers whether this changed it; no sample is under way in the old state when it returns.
  bool setRegistered(bool registered) EXCLUDES(gate_);
  bool isRegistered() EXCLUDES(gate_);

  const std::shared_ptr<DocumentStream> stream_;
  const std::weak_ptr<PlatformPeer> peer_;
  bool lost_ = false;           // main thread
  platform::SharedMutex gate_;  // shared while a sample is carried
  bool registered_ GUARDED_BY(gate_) = false;
};

}  // namespace meeting
