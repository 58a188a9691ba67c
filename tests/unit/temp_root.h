#pragma once
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "platform/root.h"

/// An instrument root of a test's own, empty at first, the platform's root while it lives.
class Temp_Root {
  public:
    /// Deeper adds that many folders of a long name above the root.
    explicit Temp_Root(int deeper = 0) {
        static const bool cleared = Clear_Abandoned();
        const std::string mine = prefix + std::to_string(::getpid()) + "-XXXXXX";
        std::string name = (std::filesystem::temp_directory_path() / mine).string();
        if (!cleared || ::mkdtemp(name.data()) == nullptr) std::abort();
        top_ = name;
        std::filesystem::path root = name;
        for (int i = 0; i < deeper; ++i)
            root /= "a folder with quite a long name to make the path longer than a socket name";
        std::filesystem::create_directories(root);
        platform::Set_Root(root.string());
    }
    Temp_Root(const Temp_Root&) = delete;
    Temp_Root& operator=(const Temp_Root&) = delete;
    ~Temp_Root() {
        std::error_code error;
        std::filesystem::remove_all(top_, error);
    }

    /// Writes a file at an instrument path, with the folders above it.
    void Write(const std::string& instrument_path, const std::string& text) const {
        const std::filesystem::path path = platform::Rooted(instrument_path);
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary) << text;
    }

    std::string Read(const std::string& instrument_path) const {
        std::ifstream file(platform::Rooted(instrument_path), std::ios::binary);
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }

    /// The folder around the root, for what must stay outside it.
    const std::string& Top() const { return top_; }

  private:
    static constexpr const char* prefix = "kva720-test-";

    /// Takes away what tests left behind that crashed or were ended.
    static bool Clear_Abandoned() {
        std::error_code error;
        for (const auto& entry : std::filesystem::directory_iterator(std::filesystem::temp_directory_path(), error)) {
            const std::string name = entry.path().filename().string();
            const int owner = name.starts_with(prefix) ? std::atoi(name.c_str() + std::strlen(prefix)) : 0;
            if (owner > 0 && ::kill(owner, 0) != 0 && errno == ESRCH) std::filesystem::remove_all(entry.path(), error);
        }
        return true;
    }

    std::string top_;
};
