// A class that keeps one data member too many, and one whose state struct takes it over the
// limit: the member count must refuse both.
#pragma once

#include <array>

namespace probe {

class TooWide {
 public:
  void Run();

 private:
  int mField0 = 0;
  int mField1 = 0;
  int mField2 = 0;
  int mField3 = 0;
  int mField4 = 0;
  int mField5 = 0;
  int mField6 = 0;
  int mField7 = 0;
  int mField8 = 0;
  int mField9 = 0;
  int mField10 = 0;
  int mField11 = 0;
  int mField12 = 0;
  int mField13 = 0;
  int mField14 = 0;
  int mField15 = 0;
  int mField16 = 0;
  int mField17 = 0;
  int mField18 = 0;
  int mField19 = 0;
  int mField20 = 0;
};

class StateInABag {
 public:
  StateInABag& operator=(StateInABag const&) = delete;
  bool Busy() const { return mA > 0; }

 private:
  struct State {
    int a = 0, b = 0, c = 0;
    std::array<int, 4> d{};
  };
  State mState;
  State mOther;
  int mA = 0, mB = 0;
  static constexpr int kMax = 3;
  std::array<int, 20> mMany{};
  int mC{1}, mD{2};
  int mE = 0;
  int mF = 0;
  int mG = 0;
  int mH = 0;
  int mI = 0;
  int mJ = 0;
  int mK = 0;
  int mL = 0;
};

}  // namespace probe
