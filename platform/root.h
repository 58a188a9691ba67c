#pragma once
#include <string>
#include <string_view>

/// The file root: on the board the instrument's absolute paths are the machine's own; on a PC they lie below a folder.
namespace platform {

/// Sets the folder below which every instrument path is looked up. Call once, before any thread starts.
/// The board has no such folder and ignores it.
void Set_Root(std::string folder);

/// The folder of this instrument, without a slash at its end; empty on the board.
const std::string& Root();

/// The machine's path of an instrument path: "/dev/fb/0" becomes "<root>/dev/fb/0".
std::string Rooted(std::string_view instrument_path);

}  // namespace platform
