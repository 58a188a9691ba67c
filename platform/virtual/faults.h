#pragma once
#include <string_view>

namespace platform {

/// The virtual board's fault switch: true when the file "/dev/faults" below the root names the call, one a line. For
/// those who want to see how the instrument takes a failing device.
bool Fault(std::string_view call);

}  // namespace platform
