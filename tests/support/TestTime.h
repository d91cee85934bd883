// Time limits in tests grow with the machine's load: scripts/test sets TAVELO_TIME_SCALE from
// the load average per core (1 on a quiet machine, or when unset).
#pragma once

namespace tavelo_test {

// At least 1.
double TestTimeScale();
// A limit in milliseconds, scaled.
unsigned ScaledMilliseconds(unsigned milliseconds);

}  // namespace tavelo_test
