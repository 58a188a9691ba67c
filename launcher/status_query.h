#pragma once
#include <string>

namespace launcher {

/// Asks the instrument of a root over its local socket whether it has come up and takes keys. False also when it
/// doesn't answer in half a second.
bool Takes_Keys(const std::string& root);

}  // namespace launcher
