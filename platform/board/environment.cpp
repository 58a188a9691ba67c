#include "platform/environment.h"

namespace platform {

void Configure_From_Environment() {}

}  // namespace platform
