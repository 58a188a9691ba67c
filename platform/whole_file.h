#pragma once
#include <string>
#include <string_view>

namespace platform {

/// Replaces a file (an instrument path) whole: a power cut at any moment leaves the old content or the new one.
/// False with errno on failure; the old content stands then.
bool Write_Whole_File(std::string_view path, std::string_view content);

/// Content of a file of at most limit bytes; false when it cannot be read or is larger.
bool Read_Whole_File(std::string_view path, std::size_t limit, std::string& content);

}  // namespace platform
