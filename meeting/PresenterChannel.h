// The presenter's end of the stream: checks each request and hands what it carries to the
// document's stream. [main-thread; media data also delivery-thread]
#pragma once

#include <memory>

#include "meeting/DocumentStream.h"
#include "meeting/MultimediaPlatform.h"
#include "mmp/RequestRecords.h"

namespace meeting {

class PresenterChannel final : public PlatformPort {
 public:
  PresenterChannel(std::shared_ptr<DocumentStream> stream, std::weak_ptr<PlatformPeer> peer);
  ~PresenterChannel() override;
  PresenterChannel(const PresenterChannel&) = delete;
  PresenterChannel& operator=(const PresenterChannel&) = delete;

  UCFResult request(unsigned long type, unsigned long uMsg, void* record) override;

 private:
  UCFResult command(unsigned long uMsg, void* record);
  bool registerSource(const tagMSRegisterInfo& info);
  bool unregister(const tagMSUnRegisterInfo& info);
  bool sourceStatus(const tagMSSourceStatus& status);
  bool mediaFormat(const tagMSMediaFormat& record);
  bool mediaData(const tagMSDataStructure& data);

  std::shared_ptr<DocumentStream> stream_;
  std::weak_ptr<PlatformPeer> peer_;
};

}  // namespace meeting
