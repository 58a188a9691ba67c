#pragma once
#include <string>
#include <string_view>

/// Where files that a user names stand.

constexpr std::size_t longest_file_name = 63;

struct Stored_File {
    int error = 0;     ///< 0, or the code of the error that there is no such place
    std::string path;  ///< instrument path
};

/// The file of a name, which may begin with a store ("NAND:", "USB:", "SD:", any case; none is the internal one) and
/// with folders below it. The ending, as ".lim", is added when it is missing. -257 for a name that is none or leaves the
/// store, -252 where the store is not there.
Stored_File File_In_Store(std::string_view name, std::string_view ending);
