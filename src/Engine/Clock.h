#pragma once
#include <cstdint>

namespace ArdentisEngine {

// Monotonic engine clock in microseconds; deadlines and frame deltas are measured against it.
std::int64_t now();

}
