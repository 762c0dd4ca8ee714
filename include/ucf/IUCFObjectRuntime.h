// Shared data and participant callbacks: what the host tells an object about its document.
// The comment "ignored" marks callbacks that this module accepts without effect.
#ifndef UCF_IUCFOBJECTRUNTIME_H
#define UCF_IUCFOBJECTRUNTIME_H

#include "ucf/Slots.h"
#include "ucf/Types.h"

class UCF_INTERFACE IUCFObjectRuntime {
 public:
  UCF_SLOTS_BEGIN;

  // A command record from another participant's instance (mmp/ParticipantRecords.h), `length` bytes
  // that stay the host's. [main-thread; live]
  UCF_SLOT(0);
  virtual void OnCommandData(unsigned char* data, unsigned int length, unsigned long,
                             unsigned int) = 0;

  // Block data: ignored. [main-thread; live]
  UCF_SLOT(1);
  virtual void OnAllBlockDataID(unsigned int, unsigned int*, tagUCFVdData*) = 0;
  UCF_SLOT(2);
  virtual void OnBlockDataID(unsigned int, tagUCFVdData*) = 0;
  UCF_SLOT(3);
  virtual void OnBlockData(unsigned int, unsigned char*, unsigned int) = 0;
  UCF_SLOT(4);
  virtual void OnBlockDataRemoved(unsigned int) = 0;
  UCF_SLOT(5);
  virtual void OnAllBlockDataRemoved() = 0;
  UCF_SLOT(6);
  virtual void OnFileDownloadProgress(unsigned int, char*, char*, unsigned int, unsigned int,
                                      tagUCFVdData*) = 0;
  UCF_SLOT(7);
  virtual void OnBlockDataInFileRemoved(unsigned int) = 0;

  // Parameter data `id` of the document, `length` bytes that stay the host's. [main-thread; live]
  UCF_SLOT(8);
  virtual void OnParameterData(unsigned int id, unsigned char* data, unsigned int length) = 0;

  // Changes of parameter data: ignored. [main-thread; live]
  UCF_SLOT(9);
  virtual void OnParameterDataAppended(unsigned int, unsigned char*, unsigned int) = 0;
  UCF_SLOT(10);
  virtual void OnParameterDataRemoved(unsigned int) = 0;
  UCF_SLOT(11);
  virtual void OnAllParameterDataRemoved() = 0;

  // This participant's role bits changed; bit 0 set means presenter. [main-thread; live]
  UCF_SLOT(12);
  virtual void OnUserRoleChanged(unsigned int role) = 0;

  // Participants, mute, system commands, status: ignored. [main-thread; live]
  UCF_SLOT(13);
  virtual void OnUsersChanged(UCFUsersChange, unsigned long) = 0;
  UCF_SLOT(14);
  virtual void OnMute(unsigned long, unsigned char) = 0;
  UCF_SLOT(15);
  virtual void OnSystemCommand(UCFSysCmd, tagUCFVariant*) = 0;
  UCF_SLOT(16);
  virtual void OnStatusChanged(unsigned long, unsigned int, unsigned int, tagUCFVdData*) = 0;

  // Ignored; returns 0. [main-thread; live]
  UCF_SLOT(17);
  virtual UCFResult SetProperty(char* name, char* value) = 0;

 protected:
  ~IUCFObjectRuntime() = default;
};

#endif  // UCF_IUCFOBJECTRUNTIME_H
