#include "tests/screens/reference.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>

#include <gtest/gtest.h>
#include <png.h>

#include "display/layers.h"
#include "platform/frame_buffer.h"
#include "web/screen.h"

namespace screen_tests {
namespace {

bool Write_Png(const std::string& path, const Screen& screen) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = web::screen_width;
    image.height = web::screen_height;
    image.format = PNG_FORMAT_RGB;
    return png_image_write_to_file(&image, path.c_str(), 0, screen.data(), 0, nullptr) != 0;
}

/// Empty when there is no such picture of the screen's size.
Screen Read_Png(const std::string& path) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&image, path.c_str())) return {};
    image.format = PNG_FORMAT_RGB;
    Screen screen(PNG_IMAGE_SIZE(image));
    if (!png_image_finish_read(&image, nullptr, screen.data(), 0, nullptr)) return {};
    if (image.width != web::screen_width || image.height != web::screen_height) return {};
    return screen;
}

int Distance(const Screen& a, const Screen& b, std::size_t pixel) {
    int most = 0;
    for (std::size_t i = pixel; i < pixel + 3; ++i) most = std::max(most, std::abs(a[i] - b[i]));
    return most;
}

/// What differs in red over a dim copy of the screen; within the tolerance in blue.
Screen Difference(const Screen& actual, const Screen& reference) {
    Screen difference(actual.size());
    for (std::size_t i = 0; i < actual.size(); i += 3) {
        const int distance = Distance(actual, reference, i);
        const auto dim = static_cast<std::uint8_t>((actual[i] + actual[i + 1] + actual[i + 2]) / 9);
        const bool wrong = distance > component_tolerance;
        difference[i] = wrong ? 255 : dim;
        difference[i + 1] = dim;
        difference[i + 2] = !wrong && distance > 0 ? 255 : dim;
    }
    return difference;
}

/// One folder for all runs, so that they don't pile up.
std::string Kept_Folder() {
    std::error_code error;
    const auto folder = std::filesystem::temp_directory_path(error) / "kva720-screens";
    std::filesystem::create_directories(folder, error);
    return error ? "." : folder.string();
}

}  // namespace

Screen Composed() {
    const std::array<const Frame_Descriptor*, 4> bottom_to_top{&fbVid0, &fbVid1, &fbOsd1, &fbOsd0};
    std::array<web::Layer, bottom_to_top.size()> layers;
    for (std::size_t i = 0; i < layers.size(); ++i) {
        const Frame_Descriptor& frame = *bottom_to_top[i];
        if (!frame.memory || platform::Frame_Get_State(frame.device, layers[i].state) != 0) continue;
        layers[i].memory = {frame.memory, frame.size};
        layers[i].zero_transparent = &frame == &fbOsd0 || &frame == &fbOsd1;
    }
    Screen screen(web::screen_bytes);
    web::Compose(0, layers, 100, screen);
    return screen;
}

int Differing_Pixels(const Screen& a, const Screen& b) {
    int differing = 0;
    for (std::size_t i = 0; i < a.size(); i += 3) differing += Distance(a, b, i) > component_tolerance;
    return differing;
}

void Expect_Screen(const std::string& name) {
    const std::string path = std::string(KVA720_SOURCE) + "/tests/screens/reference/" + name + ".png";
    const Screen actual = Composed();
    const char* write = std::getenv("KVA720_WRITE_SCREENS");
    if (write && std::string(write) == "1") {
        ASSERT_TRUE(Write_Png(path, actual)) << path;
        return;
    }
    const Screen reference = Read_Png(path);
    const int differing = reference.empty() ? 0 : Differing_Pixels(actual, reference);
    if (!reference.empty() && differing <= pixel_tolerance) return;
    const std::string folder = Kept_Folder();
    Write_Png(folder + "/" + name + "-actual.png", actual);
    if (reference.empty()) {
        FAIL() << path << " is missing or no picture of the screen's size; the screen is kept in " << folder;
    }
    Write_Png(folder + "/" + name + "-reference.png", reference);
    Write_Png(folder + "/" + name + "-difference.png", Difference(actual, reference));
    FAIL() << differing << " pixels of " << name << " differ; actual, reference and difference are in " << folder;
}

}  // namespace screen_tests
