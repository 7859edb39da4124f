#pragma once

#include <chrono>
#include <stdexcept>

/// The bench's clock and its way to give up.

using Clock = std::chrono::steady_clock;
using Seconds = std::chrono::duration<double>;

/// The measurement cannot go on; main() says why and ends.
struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};
