// What makes a host of the simulated one that nobody knows to be simulated: its library without the call that tells,
// and a topology from REAL_HOST.
#include <cstdio>
#include <cstdlib>

#include "simulator/simulated_host.h"

[[gnu::constructor]] static void loadTopology() {
  const char* file = std::getenv("REAL_HOST");
  if (file == nullptr) return;
  if (const auto mistake = dmuSimulatedHost()->loadFile(file)) {
    std::fprintf(stderr, "real host: %s\n", mistake->c_str());
    std::abort();
  }
}
