#include "virtual_board/recording.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace virtual_board {

namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t most_samples = 1u << 26;
/// A shorter recording is repeated to this length, so that its loop is never shorter than some filters' patience.
constexpr std::size_t least_samples = 65536;
constexpr std::uintmax_t most_metadata_bytes = 16u << 20;
constexpr double highest_rate_hz = 1e9;
constexpr double highest_frequency_hz = 1e11;
constexpr float largest_value = 1e6F;  ///< of floating-point samples

enum class Sample_Format { cu8, ci8, ci16, ci32, cf32 };

struct Format_Name {
    std::string_view datatype;    ///< in SigMF metadata
    std::string_view extensions;  ///< of bare files, each between blanks
    Sample_Format format;
    std::size_t bytes;  ///< of one complex sample
};

constexpr std::array<Format_Name, 5> formats = {{
    {"cu8", " .cu8 ", Sample_Format::cu8, 2},
    {"ci8", " .cs8 .ci8 ", Sample_Format::ci8, 2},
    {"ci16_le", " .cs16 .ci16 ", Sample_Format::ci16, 4},
    {"ci32_le", " .ci32 .cs32 ", Sample_Format::ci32, 8},
    {"cf32_le", " .cf32 .fc32 ", Sample_Format::cf32, 8},
}};

struct Description {
    fs::path data;
    const Format_Name* format = nullptr;
    std::optional<double> rate_hz;
    std::optional<double> frequency_hz;
};

[[noreturn]] void Fail(const fs::path& file, const std::string& what) {
    throw std::runtime_error(file.string() + ": " + what);
}

const fs::path& Existing(const fs::path& file, const char* what) {
    std::error_code error;
    if (!fs::is_regular_file(file, error)) {
        Fail(file, std::string(what) + " is missing");
    }
    return file;
}

std::optional<double> Optional_Number(const nlohmann::json& object, const char* key, const fs::path& file) {
    const auto found = object.find(key);
    if (found == object.end()) {
        return std::nullopt;
    }
    if (!found->is_number()) {
        Fail(file, std::string(key) + " is not a number");
    }
    return found->get<double>();
}

Description Read_Metadata(const fs::path& meta, const fs::path& data) {
    Existing(meta, "the metadata file");
    if (fs::file_size(meta) > most_metadata_bytes) {
        Fail(meta, "the metadata are too long");
    }
    std::ifstream stream(meta);
    const nlohmann::json json = nlohmann::json::parse(stream, nullptr, false);
    if (!json.is_object() || !json.contains("global") || !json["global"].is_object()) {
        Fail(meta, json.is_discarded() ? "the metadata are not valid JSON" : "the metadata have no global object");
    }
    const nlohmann::json& global = json["global"];
    const auto type = global.find("core:datatype");
    if (type == global.end() || !type->is_string()) {
        Fail(meta, "core:datatype is missing");
    }
    Description description;
    description.data = data;
    description.rate_hz = Optional_Number(global, "core:sample_rate", meta);
    for (const Format_Name& format : formats) {
        if (type->get<std::string>() == format.datatype) {
            description.format = &format;
        }
    }
    if (description.format == nullptr) {
        // Quoted as JSON quotes it, so that control characters stay out of the message.
        Fail(meta, "core:datatype " + type->dump(-1, ' ', true, nlohmann::json::error_handler_t::replace) +
                       " is not one of cu8, ci8, ci16_le, ci32_le, cf32_le");
    }
    if (Optional_Number(global, "core:num_channels", meta).value_or(1.0) != 1.0) {
        Fail(meta, "core:num_channels is not 1");
    }
    const auto captures = json.find("captures");
    if (captures != json.end() && captures->is_array() && !captures->empty() && captures->front().is_object()) {
        description.frequency_hz = Optional_Number(captures->front(), "core:frequency", meta);
    }
    return description;
}

Description Describe_Bare(const fs::path& path) {
    Description description;
    description.data = Existing(path, "the recording");
    const std::string extension = std::string(" ").append(path.extension().string()).append(" ");
    for (const Format_Name& format : formats) {
        if (path.has_extension() && format.extensions.find(extension) != std::string_view::npos) {
            description.format = &format;
            return description;
        }
    }
    Fail(path, "the data type is unknown: neither metadata beside it nor one of the extensions .cu8, .cs8, .ci8, "
               ".cs16, .ci16, .ci32, .cf32");
}

Description Describe(const fs::path& path) {
    if (path.extension() == ".sigmf-meta" || path.extension() == ".sigmf-data") {
        fs::path meta = path;
        fs::path data = path;
        return Read_Metadata(meta.replace_extension(".sigmf-meta"), data.replace_extension(".sigmf-data"));
    }
    fs::path meta = path;
    meta += ".sigmf-meta";
    std::error_code error;
    if (fs::exists(meta, error)) {
        fs::path data = path;
        return Read_Metadata(meta, data += ".sigmf-data");
    }
    return Describe_Bare(path);
}

double Checked(std::optional<double> option, std::optional<double> told, const fs::path& file, const char* name,
               double low, double high) {
    if (!option && !told) {
        Fail(file, std::string("the ") + name + " is missing");
    }
    const double value = option ? *option : *told;
    if (!(value > low && value <= high)) {
        Fail(file, std::string("the ") + name + " is not positive or too high");
    }
    return value;
}

/// One little-endian number.
template <typename Number>
Number Read_Number(const char* bytes) {
    static_assert(std::endian::native == std::endian::little);
    Number number;
    std::memcpy(&number, bytes, sizeof number);
    return number;
}

/// One of the two parts of a sample, full scale 1.
float Read_Part(Sample_Format format, const char* bytes) {
    switch (format) {
        case Sample_Format::cu8: return (static_cast<float>(static_cast<std::uint8_t>(*bytes)) - 127.5F) / 127.5F;
        case Sample_Format::ci8: return static_cast<float>(static_cast<std::int8_t>(*bytes)) / 128.0F;
        case Sample_Format::ci16: return static_cast<float>(Read_Number<std::int16_t>(bytes)) / 32768.0F;
        case Sample_Format::ci32: return static_cast<float>(Read_Number<std::int32_t>(bytes)) / 2147483648.0F;
        case Sample_Format::cf32: return Read_Number<float>(bytes);
    }
    return 0.0F;
}

void Read_Samples(const Description& description, double level_dbm, Iq_Loop& loop) {
    const fs::path& file = description.data;
    Existing(file, "the data file");
    const std::uintmax_t bytes = fs::file_size(file);
    const std::size_t sample_bytes = description.format->bytes;
    if (bytes == 0) {
        Fail(file, "the data file is empty");
    }
    if (bytes % sample_bytes != 0) {
        Fail(file, "the data file is cut in the middle of a sample");
    }
    const std::uintmax_t count = bytes / sample_bytes;
    if (count > most_samples) {
        Fail(file, "the data file holds " + std::to_string(count) + " samples; at most " +
                       std::to_string(most_samples) + " can be played");
    }
    std::ifstream stream(file, std::ios::binary);
    const auto scale = static_cast<float>(std::sqrt(To_Milliwatts(level_dbm)));
    loop.re.reserve(count);
    loop.im.reserve(count);
    std::vector<char> buffer(65536 * sample_bytes);
    while (loop.Size() < count) {
        const auto wanted = std::min<std::uintmax_t>(buffer.size(), (count - loop.Size()) * sample_bytes);
        if (!stream.read(buffer.data(), static_cast<std::streamsize>(wanted))) {
            Fail(file, "the data file cannot be read");
        }
        for (std::size_t at = 0; at < wanted; at += sample_bytes) {
            const float re = Read_Part(description.format->format, buffer.data() + at);
            const float im = Read_Part(description.format->format, buffer.data() + at + sample_bytes / 2);
            if (!(std::abs(re) <= largest_value && std::abs(im) <= largest_value)) {
                Fail(file, "sample " + std::to_string(loop.Size()) + " is not a finite number or too large");
            }
            loop.re.push_back(re * scale);
            loop.im.push_back(im * scale);
        }
    }
}

void Repeat_To_Least(Iq_Loop& loop) {
    const std::size_t once = loop.Size();
    while (loop.Size() < least_samples) {
        for (std::size_t n = 0; n < once; n++) {
            loop.re.push_back(loop.re[n]);
            loop.im.push_back(loop.im[n]);
        }
    }
}

}  // namespace

std::shared_ptr<const Input> Load_Recording(const std::filesystem::path& path, const Recording_Options& options) {
    const Description description = Describe(path);
    if (!(options.level_dbm >= -200.0 && options.level_dbm <= 40.0)) {
        Fail(path, "the level of full scale is outside -200 to 40 dBm");
    }
    auto input = std::make_shared<Input>();
    Iq_Loop& loop = input->recording.emplace();
    loop.rate_hz = Checked(options.rate_hz, description.rate_hz, path, "sample rate", 0.0, highest_rate_hz);
    loop.center_hz =
        Checked(options.frequency_hz, description.frequency_hz, path, "centre frequency", -1.0, highest_frequency_hz);
    Read_Samples(description, options.level_dbm, loop);
    Repeat_To_Least(loop);
    return input;
}

}  // namespace virtual_board
