// The property store, shared with the application and the bridge, and the flags kept in it.
#include "movara/common/AVUIProxy.h"
#include "movara/common/Trace.h"
#include "movara/player/KTAVPlayer.h"

using platform::Value;

Value CAVPlayer::propertyWithKey(std::string_view key) {
  const platform::Lock guard(m_propertyLock);
  return m_properties.get(key);
}

void CAVPlayer::setPropertyWithKey(std::string_view key, const Value& value) {
  {
    const platform::Lock guard(m_propertyLock);
    m_properties.set(key, value);
  }
  if (key == kAVMediaMediaTypeProperty && m_pVideoPlayer) {
    m_pVideoPlayer->setMediaType(value.intValue());
  }
}

bool CAVPlayer::active() {
  if (!m_pVideoPlayer) return false;
  m_pVideoPlayer->attachToSuperView(static_cast<platform::View*>(m_pParentView));
  m_pVideoPlayer->active();
  setPropertyWithKey(kAVMovieActiveProperty, true);
  return true;
}

bool CAVPlayer::deactive() {
  if (!m_pVideoPlayer) return false;
  m_pVideoPlayer->deactive();
  setPropertyWithKey(kAVMovieActiveProperty, false);
  return true;
}

bool CAVPlayer::isActive() { return propertyWithKey(kAVMovieActiveProperty).boolValue(); }

void CAVPlayer::setFailoverStatus(signed char on) {
  setPropertyWithKey(kAVMMPFailoverProcessing, on != 0);
}

bool CAVPlayer::isFailoverProcessing() {
  const Value stored = propertyWithKey(kAVMMPFailoverProcessing);
  return stored.isNumber() && stored.boolValue();
}

void CAVPlayer::setAllowEnterFit(signed char allow) {
  if (static_cast<signed char>(isAllowEnterFit()) == allow) return;
  setPropertyWithKey(kAVAllowEnterFitMode, allow != 0);
  MacInfoTrace2(kTraceModule, "CAVPlayer::setAllowEnterFit,bAllowEnterFit = %d", allow);
}

bool CAVPlayer::isAllowEnterFit() {
  const Value stored = propertyWithKey(kAVAllowEnterFitMode);
  return stored.isNil() || (stored.isNumber() && stored.boolValue());
}

void CAVPlayer::SetPresenter(int presenter) {
  if (!m_pVideoPlayer || !m_pUIProxy) return;
  setPropertyWithKey(kAVMovieCurrentPresenterRole, presenter != 0);
  m_pVideoPlayer->roleChanged(presenter != 0);
}

bool CAVPlayer::isPresenter() {
  if (!m_pVideoPlayer || !m_pUIProxy) return false;
  const Value stored = propertyWithKey(kAVMovieCurrentPresenterRole);
  return stored.isNil() || stored.boolValue();
}
