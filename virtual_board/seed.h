#pragma once
#include <string>

namespace virtual_board {

/// The folder with the instrument's files that the build made: beside the program's own folder.
std::string Default_Share();

/// Brings the instrument's folders and files into the platform's root. What a user can change stays as it is; the
/// instrument's own files (fonts, words, pictures) follow the build's, the identity follows the model.
/// Throws std::runtime_error with one line.
void Seed_Root(const std::string& share, const std::string& model);

}  // namespace virtual_board
