#pragma once
#include <map>
#include <optional>
#include <string>

namespace web {

struct Page_File {
    std::string type;  ///< media type
    std::string text;
};

/// The page's files by the path they are asked for ("/", "/panel.js"). Read once, so that a request never names a file.
/// Nothing when one is missing; missing then holds its name.
std::optional<std::map<std::string, Page_File, std::less<>>> Load_Page(const std::string& folder, std::string& missing);

}  // namespace web
