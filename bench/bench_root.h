#pragma once
#include <cstdlib>
#include <filesystem>
#include <string>

#include "platform/clock.h"
#include "platform/root.h"

/// A root of the benchmark's own, with waits that take no time.
class Bench_Root {
public:
    Bench_Root() {
        std::string name = (std::filesystem::temp_directory_path() / "kva720-bench-XXXXXX").string();
        if (!mkdtemp(name.data())) std::abort();
        platform::Set_Root(name);
        std::filesystem::create_directories(platform::Rooted("/dev/fb"));
        platform::Set_Clock_Mode(platform::Clock_Mode::stepped);
    }
    ~Bench_Root() {
        std::error_code error;
        std::filesystem::remove_all(platform::Root(), error);
    }
};
