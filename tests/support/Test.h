/// What the tests of every folder use.
#pragma once

#include "tests/support/Chunks.h"
#include "tests/support/Eventually.h"
#include "tests/support/RawSegment.h"
#include "tests/support/Signals.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <climits>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <numeric>
#include <optional>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

using namespace support; // NOLINT(google-global-names-in-headers): test programs alone include it
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kMaxFloat = std::numeric_limits<float>::max();
