// The container of one participant's object: hands out its runtime and router, tells where the
// shared file lies, keeps its shared properties. [main-thread]
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "ucf/IUCFContainerBase.h"
#include "ucf/IUCFContainerRuntime.h"
#include "ucf/IUCFMsgRouter.h"

namespace meeting {

class Container final : public IUCFContainerBase {
 public:
  // Runtime and router must outlive the container. An empty path means that this participant does
  // not have the file.
  Container(std::string filePath, IUCFContainerRuntime& runtime, IUCFMsgRouter& router);

  UCFResult GetUCFInterface(UCFInterfaceID id, void** out) override;
  void FreeVariant(tagUCFVariant* variant) override;
  UCFResult GetProperty(std::uint32_t id, tagUCFVariant* out) override;
  UCFResult GetSharedProperty(std::uint32_t id, tagUCFVariant* out) override;
  UCFResult SetSharedProperty(std::uint32_t id, tagUCFVariant* in) override;

 private:
  std::string filePath_;
  IUCFContainerRuntime& runtime_;
  IUCFMsgRouter& router_;
  std::map<std::uint32_t, tagUCFVariant> shared_;  // numbers only
};

}  // namespace meeting
