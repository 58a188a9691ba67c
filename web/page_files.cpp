#include "web/page_files.h"

#include <array>
#include <fstream>
#include <iterator>

namespace web {
namespace {

struct Known_File {
    const char* path;
    const char* file;
    const char* type;
};

constexpr std::array<Known_File, 8> known_files{{
    {"/", "index.html", "text/html; charset=utf-8"},
    {"/panel.css", "panel.css", "text/css; charset=utf-8"},
    {"/panel.js", "panel.js", "text/javascript; charset=utf-8"},
    {"/screen.js", "screen.js", "text/javascript; charset=utf-8"},
    {"/console.js", "console.js", "text/javascript; charset=utf-8"},
    {"/fields.js", "fields.js", "text/javascript; charset=utf-8"},
    {"/knob.js", "knob.js", "text/javascript; charset=utf-8"},
    {"/icon.svg", "icon.svg", "image/svg+xml"},
}};

}  // namespace

std::optional<std::map<std::string, Page_File, std::less<>>> Load_Page(const std::string& folder,
                                                                       std::string& missing) {
    std::map<std::string, Page_File, std::less<>> page;
    for (const auto& known : known_files) {
        std::ifstream file(folder + "/" + known.file, std::ios::binary);
        if (!file) {
            missing = known.file;
            return std::nullopt;
        }
        page[known.path] = {known.type, std::string(std::istreambuf_iterator<char>(file), {})};
    }
    return page;
}

}  // namespace web
