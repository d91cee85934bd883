// One event of the DVD playback service, carried from the service's thread to the main
// thread. Immutable; shared by reference count.
#pragma once

#include <memory>

#include "DVDPlayback.h"

class DVDEvent {
 public:
  DVDEvent(DVDEventCode code, DVDEventValue data1, DVDEventValue data2)
      : mEventCode(code), mEventData1(data1), mEventData2(data2) {}

  static std::shared_ptr<DVDEvent const> initWithData(DVDEventCode code, DVDEventValue data1,
                                                      DVDEventValue data2) {
    return std::make_shared<DVDEvent const>(code, data1, data2);
  }

  DVDEventCode eventCode() const { return mEventCode; }
  DVDEventValue eventData1() const { return mEventData1; }
  DVDEventValue eventData2() const { return mEventData2; }

 private:
  DVDEventCode const mEventCode;
  DVDEventValue const mEventData1;
  DVDEventValue const mEventData2;
};
