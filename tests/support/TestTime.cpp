#include "TestTime.h"

#include <cstdlib>

namespace tavelo_test {

double TestTimeScale() {
  static double const scale = [] {
    char const* text = std::getenv("TAVELO_TIME_SCALE");
    if (!text || !*text) return 1.0;
    char* end = nullptr;
    double const value = std::strtod(text, &end);
    return end != text && *end == '\0' && value > 1.0 && value < 100.0 ? value : 1.0;
  }();
  return scale;
}

unsigned ScaledMilliseconds(unsigned milliseconds) {
  return unsigned(double(milliseconds) * TestTimeScale() + 0.5);
}

}  // namespace tavelo_test
