// Slot arithmetic for the host contract.
//
// The interfaces of this folder are called through their virtual tables by binaries that were built
// apart, so the position of every function is part of the contract. Never reorder, never insert.
//
// The comment of each function ends with a tag: the threads that may call it, then the states of
// the object in which they may (scripts/check-contract holds this). A tag counts for the functions
// that follow it without a blank line.
//
// Roles:
//   main-thread      the thread that runs the main run loop
//   delivery-thread  one of the capture framework's two, for pictures and for sound
//   any-thread       no restriction
// States:
//   any-state        no restriction
//   loaded           between UCFInitialize and UCFCleanup
//   creating         inside UCFCreateInstance
//   live             from the return of UCFCreateInstance until Release is called
//   releasing        inside Release
#ifndef UCF_SLOTS_H
#define UCF_SLOTS_H

// Opens the slot count of an interface; first line of its body.
#define UCF_SLOTS_BEGIN enum : int { kSlotBase_ = __COUNTER__ + 1 }

// States the virtual-table index of the declaration that follows it, and fails to compile when a
// declaration was added, removed or moved above it.
#define UCF_SLOT(index) static_assert(__COUNTER__ == kSlotBase_ + (index), "slot moved")

// A position that this contract leaves to the host; the module never calls it.
#define UCF_RESERVED_SLOT(index) \
  UCF_SLOT(index);               \
  virtual void Reserved##index() {}

#if defined(__GNUC__)
#define UCF_INTERFACE __attribute__((visibility("default")))
#else
#define UCF_INTERFACE
#endif

#endif  // UCF_SLOTS_H
