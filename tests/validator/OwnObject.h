// A plug-in that is right and built otherwise than movara: its object stands around another one,
// and has exactly the slots and the exported constants that the contract asks for, nothing behind
// them.
#pragma once

#include "ucf/IUCFObjectBase.h"

class OwnObject final : public IUCFObjectBase {
 public:
  // The other one ends with it.
  explicit OwnObject(IUCFObjectBase* other) : other_(other) {}

  UCFResult GetUCFInterface(UCFInterfaceID id, void** out) override {
    if (id != UCF_IID_OBJECT_BASE && id != UCF_IID_OBJECT_BASE_2)
      return other_->GetUCFInterface(id, out);
    *out = static_cast<IUCFObjectBase*>(this);
    return UCF_OK;
  }
  void Release() override {
    other_->Release();
    delete this;
  }
  UCFResult IsReleaseOnKillActive(UCFUsageMode mode) override {
    return other_->IsReleaseOnKillActive(mode);
  }
  UCFResult OnSetActive(unsigned char active) override { return other_->OnSetActive(active); }
  UCFResult OnKillActive() override { return other_->OnKillActive(); }
  UCFResult DrawInactiveUI(void* parentView, tagUCFRect* rect) override {
    return other_->DrawInactiveUI(parentView, rect);
  }
  UCFResult CreateActiveUI(void* parentView, tagUCFRect* rect) override {
    return other_->CreateActiveUI(parentView, rect);
  }
  UCFResult DestroyActiveUI() override { return other_->DestroyActiveUI(); }
  void OnPositionChanged(tagUCFRect* rect) override { other_->OnPositionChanged(rect); }
  void OnParentWindowChanged(void* parentView) override {
    other_->OnParentWindowChanged(parentView);
  }

 private:
  IUCFObjectBase* const other_;
};

#define CONSTANT(name, text)                                                \
  extern "C" __attribute__((visibility("default"))) const char* const name; \
  const char* const name = text;
CONSTANT(HOLStatusNotification, "HOLStatusNotification")
CONSTANT(HOLStatusNoticationValueKey, "Status")
CONSTANT(PDQueryHOLStatusNotification, "PDQueryHOLStatusNotification")
CONSTANT(kMSVideoRenderSizeChangedNotification, "MSVideoRenderSizeChanged")
CONSTANT(kMSVideoRenderSourceIDKey, "MSVideoRenderSourceID")
CONSTANT(kMSVideoRenderWidthKey, "MSVideoRenderWidth")
CONSTANT(kMSVideoRenderHeightKey, "MSVideoRenderHeight")
CONSTANT(kMSActiveViewChangedNotification, "MSActiveViewChanged")
CONSTANT(kMSPauseEmbedPlayerNotification, "MSPauseEmbedPlayer")
CONSTANT(kMSHideOtherEmbedCtrlbarNotification, "MSHideOtherEmbedCtrlbar")
CONSTANT(kAVMovieFPSProperty, "kAVMovieFPSProperty")
CONSTANT(kAVMovieStatusProperty, "kAVMovieStatusProperty")
CONSTANT(kAVMMPFailoverProcessing, "kAVMMPFailoverProcessing")
CONSTANT(kAVMovieEmbedMode, "kAVMovieEmbedMode")
