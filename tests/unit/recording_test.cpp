#include "virtual_board/recording.h"

#include <gtest/gtest.h>

#include <kiss_fft.h>
#include <bit>
#include <complex>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <limits>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

#include "core_rig.h"

namespace {

namespace fs = std::filesystem;
using namespace virtual_board_test;
using virtual_board::Load_Recording;
using virtual_board::Recording_Options;
using Samples = std::vector<std::complex<double>>;

/// A folder of the test's own.
class Recording : public testing::Test {
protected:
    void SetUp() override {
        std::string name = (fs::temp_directory_path() / "kva720-recording-XXXXXX").string();
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        folder = name;
    }
    void TearDown() override { fs::remove_all(folder); }

    fs::path Write(const std::string& name, const std::string& bytes) const {
        std::ofstream(folder / name, std::ios::binary) << bytes;
        return folder / name;
    }

    /// Writes metadata and data of a stem.
    void Write_Sigmf(const std::string& stem, const std::string& type, const std::string& bytes) const {
        Write(stem + ".sigmf-meta", R"({"global": {"core:datatype": ")" + type +
                                        R"(", "core:sample_rate": 200000}, "captures": [{"core:frequency": 1e9}]})");
        Write(stem + ".sigmf-data", bytes);
    }

    /// The one line of the error that loading gives.
    static std::string Error(const fs::path& path, const Recording_Options& options = {}) {
        try {
            Load_Recording(path, options);
        } catch (const std::runtime_error& error) {
            const std::string what = error.what();
            EXPECT_EQ(what.find('\n'), std::string::npos);
            return what;
        }
        return "no error";
    }

    fs::path folder;
};

template <typename Number>
void Append(std::string& bytes, double value) {
    const auto number = static_cast<Number>(value);
    bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
}

std::string Encode(const std::string& type, const Samples& samples) {
    std::string bytes;
    for (const auto& sample : samples) {
        for (const double part : {sample.real(), sample.imag()}) {
            if (type == "cu8") Append<std::uint8_t>(bytes, std::lround(part * 127.5 + 127.5));
            if (type == "ci8") Append<std::int8_t>(bytes, std::lround(part * 128.0));
            if (type == "ci16_le") Append<std::int16_t>(bytes, std::lround(part * 32768.0));
            if (type == "ci32_le") Append<std::int32_t>(bytes, std::round(part * 2147483648.0));
            if (type == "cf32_le") Append<float>(bytes, part);
        }
    }
    return bytes;
}

Samples Tone(std::size_t count, double cycles, double amplitude) {
    Samples samples;
    for (std::size_t n = 0; n < count; n++) {
        const double turns = cycles * static_cast<double>(n) / static_cast<double>(count);
        samples.push_back(std::polar(amplitude, 2.0 * M_PI * turns));
    }
    return samples;
}

TEST_F(Recording, EveryDataTypeReadsItsLevelAndPlace) {
    // 20 kHz above the centre of 1 GHz, 6.02 dB below full scale.
    const Samples tone = Tone(20000, 2000, 0.5);
    for (const std::string type : {"cu8", "ci8", "ci16_le", "ci32_le", "cf32_le"}) {
        Write_Sigmf(type, type, Encode(type, tone));
        for (const std::string& name : {type, type + ".sigmf-meta", type + ".sigmf-data"}) {
            Core_Rig rig(Load_Recording(folder / name, {.rate_hz = {}, .frequency_hz = {}, .level_dbm = -10.0}));
            const Trace trace = rig.Sweep(Sweep_Message(1e9, 150e3, 6, true));
            EXPECT_NEAR(Highest(trace.positive), -16.02, 0.1) << name;
            EXPECT_EQ(Place_Of_Highest(trace.positive), 380) << name;
        }
    }
}

TEST_F(Recording, BareFilesGoByTheirExtensionAndOptions) {
    const Samples tone = Tone(2000, 200, 0.5);
    const std::array<std::pair<std::string, std::string>, 7> names = {{{"a.cu8", "cu8"},
                                                                       {"a.cs8", "ci8"},
                                                                       {"a.ci8", "ci8"},
                                                                       {"a.cs16", "ci16_le"},
                                                                       {"a.ci16", "ci16_le"},
                                                                       {"a.cf32", "cf32_le"},
                                                                       {"a.ci32", "ci32_le"}}};
    for (const auto& [name, type] : names) {
        const fs::path path = Write(name, Encode(type, tone));
        Core_Rig rig(Load_Recording(path, {.rate_hz = 1e6, .frequency_hz = 500e6, .level_dbm = 0.0}));
        const Trace trace = rig.Sweep(Sweep_Message(500e6, 600e3, 4));
        EXPECT_NEAR(Highest(trace.positive), -6.02, 0.1) << name;
        EXPECT_EQ(Place_Of_Highest(trace.positive), 400) << name;
        EXPECT_NE(Error(path).find("the sample rate is missing"), std::string::npos);
        EXPECT_NE(Error(path, {.rate_hz = 1e6, .frequency_hz = {}}).find("the centre frequency is missing"),
                  std::string::npos);
    }
}

TEST_F(Recording, ToneReadsItsLevelBehindEveryFilter) {
    Write_Sigmf("tone", "cf32_le", Encode("cf32_le", Tone(20000, 2001, 1.0)));
    const auto input = Load_Recording(folder / "tone", {});
    for (int rbw = 0; rbw < 16; rbw++) {
        const double width = virtual_board::Rbw_Hertz(rbw, false);
        Core_Rig rig(input);
        Message message = Sweep_Message(1e9 + 20010.0, 20.0 * width, rbw, rbw >= 5 && rbw <= 13);
        message[platform::sweep_attenuation] = 10.0;
        const Trace trace = rig.Sweep(message);
        EXPECT_NEAR(Highest(trace.positive), 0.0, 0.1) << "RBW index " << rbw;
        // One and a half RBW beside: 27 dB down, whether the filter is narrower or wider than the recorded band.
        const int top = Place_Of_Highest(trace.average);
        EXPECT_NEAR(top, 300, 5) << "RBW index " << rbw;
        EXPECT_NEAR(trace.average[345], -27.1, 0.5) << "RBW index " << rbw;
        Message zero = Sweep_Message(1e9 + 20010.0, 0.0, rbw);
        zero[platform::sweep_time] = 0.1;
        zero[platform::sweep_attenuation] = 10.0;
        EXPECT_NEAR(20.0 * std::log10(rig.Sweep(zero).average[300]) + 10.0, 0.0, 0.1) << "RBW index " << rbw;
    }
}

TEST_F(Recording, OutsideItsBandIsOnlyNoise) {
    Write_Sigmf("tone", "cf32_le", Encode("cf32_le", Tone(20000, 2000, 1.0)));
    const auto input = Load_Recording(folder / "tone", {});
    for (const bool fft : {false, true}) {
        Core_Rig rig(input);
        // The band's copies, one sample rate further, would stand at 220 and -180 kHz.
        const Trace trace = rig.Sweep(Sweep_Message(1e9, 600e3, fft ? 5 : 4, fft), 10);
        const double floor = -150.0 + 10.0 * std::log10(fft ? 3e3 : 1e4);
        for (std::size_t i = 0; i < trace.positive.size(); i++) {
            const double offset = std::abs(static_cast<double>(i % 601) - 300.0) * 1e3;
            if (offset > 101e3) {
                ASSERT_LT(trace.positive[i], floor + 16.0) << i;
            }
        }
    }
}

TEST_F(Recording, PlaysInItsOwnTimeAndLoops) {
    // On for the first quarter of 10 ms.
    Samples burst = Tone(2000, 0, 1.0);
    std::fill(burst.begin() + 500, burst.end(), 0.0);
    Write_Sigmf("burst", "ci16_le", Encode("ci16_le", burst));
    Core_Rig rig(Load_Recording(folder / "burst", {.rate_hz = {}, .frequency_hz = {}, .level_dbm = -20.0}));
    Message message = Sweep_Message(1e9, 0.0, 4);
    message[platform::sweep_time] = 0.06;
    const Trace trace = rig.Sweep(message, 2);
    for (std::size_t i = 0; i < trace.sample.size(); i++) {
        const double ms = std::fmod(0.06 * (static_cast<double>(i) + 0.5) / 601.0 * 1e3, 10.0);
        const double dbm = 20.0 * std::log10(trace.sample[i]) + 10.0;
        if (ms > 0.3 && ms < 2.2) {
            ASSERT_NEAR(dbm, -20.0, 0.1) << i;
        } else if (ms > 2.8 && ms < 9.7) {
            ASSERT_LT(dbm, -80.0) << i;
        }
    }
}

TEST_F(Recording, ErrorsNameFileAndFault) {
    const auto ends = [](const std::string& text, const std::string& end) { EXPECT_TRUE(text.ends_with(end)) << text; };
    ends(Error(folder / "none.cu8"), "none.cu8: the recording is missing");
    ends(Error(folder / "none.sigmf-meta"), "none.sigmf-meta: the metadata file is missing");
    EXPECT_NE(Error(Write("x.wav", "1234")).find("the data type is unknown"), std::string::npos);
    ends(Error(Write("json.sigmf-meta", "{\"global\": ")), "the metadata are not valid JSON");
    ends(Error(Write("list.sigmf-meta", "[]")), "the metadata have no global object");
    ends(Error(Write("type.sigmf-meta", R"({"global": {}})")), "core:datatype is missing");
    const fs::path odd = Write("odd.sigmf-meta", R"({"global": {"core:datatype": "rf64\n"}})");
    EXPECT_NE(Error(odd).find(R"("rf64\n" is not one of)"), std::string::npos);
    ends(Error(Write("text.sigmf-meta", R"({"global": {"core:datatype": "cu8", "core:sample_rate": "1"}})")),
         "core:sample_rate is not a number");
    ends(Error(Write("zero.sigmf-meta", R"({"global": {"core:datatype": "cu8", "core:sample_rate": 0}})")),
         "the sample rate is not positive or too high");
    Write_Sigmf("cut", "ci16_le", "123456");
    ends(Error(folder / "cut"), "cut.sigmf-data: the data file is cut in the middle of a sample");
    Write_Sigmf("empty", "cu8", "");
    ends(Error(folder / "empty"), "the data file is empty");
    fs::remove(folder / "empty.sigmf-data");
    ends(Error(folder / "empty"), "empty.sigmf-data: the data file is missing");
    const double nan = std::numeric_limits<double>::quiet_NaN();
    Write_Sigmf("nan", "cf32_le", Encode("cf32_le", {{0.5, 0.5}, {nan, 0.0}}));
    ends(Error(folder / "nan"), "sample 1 is not a finite number or too large");
    Write_Sigmf("fine", "cu8", "12");
    EXPECT_EQ(Error(folder / "fine"), "no error");
    ends(Error(folder / "fine", {.rate_hz = {}, .frequency_hz = {}, .level_dbm = nan}),
         "the level of full scale is outside -200 to 40 dBm");
    ends(Error(folder / "fine", {.rate_hz = -5.0, .frequency_hz = {}}), "the sample rate is not positive or too high");
}

/// What a real recording holds, from its file alone: power density over the whole band, the mean over all its time.
struct Periodogram {
    std::vector<double> power;  ///< of each bin, full scale 1; bin 0 is the lower end of the band
    double rate_hz;
    double center_hz;
    double duration_s;

    double Bin_Hz() const { return rate_hz / static_cast<double>(power.size()); }
    double Frequency(std::size_t bin) const { return center_hz - 0.5 * rate_hz + Bin_Hz() * static_cast<double>(bin); }
    double Between(double low_hz, double high_hz) const {
        double sum = 0.0;
        for (std::size_t i = 0; i < power.size(); i++) {
            sum += Frequency(i) >= low_hz && Frequency(i) < high_hz ? power[i] : 0.0;
        }
        return sum;
    }
    /// With bins joined to about this width, in Hz, so that what follows takes less time.
    Periodogram In_Steps_Of(double hertz) const {
        const std::size_t joined = std::bit_floor(std::max<std::size_t>(1, std::llround(hertz / Bin_Hz())));
        const double shift = 0.5 * Bin_Hz() * static_cast<double>(joined - 1);  // a bin stands at its lower end
        Periodogram coarse{std::vector<double>(power.size() / joined), rate_hz, center_hz + shift, duration_s};
        for (std::size_t i = 0; i < coarse.power.size() * joined; i++) coarse.power[i / joined] += power[i];
        return coarse;
    }
};

Periodogram Analyse(const fs::path& meta) {
    const nlohmann::json json = nlohmann::json::parse(std::ifstream(meta));
    const std::string type = json["global"]["core:datatype"];
    fs::path data = meta;
    std::ifstream stream(data.replace_extension(".sigmf-data"), std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
    const std::size_t part = type == "ci16_le" ? 2 : 1;
    const std::size_t count = bytes.size() / (2 * part);
    const std::size_t length = std::bit_ceil(count);
    std::vector<kiss_fft_cpx> samples(length, kiss_fft_cpx{0, 0});
    const auto read = [&](std::size_t at) -> float {
        if (part == 2) {
            const int low = static_cast<unsigned char>(bytes[at]);
            return static_cast<float>(low + 256 * static_cast<signed char>(bytes[at + 1])) / 32768.0F;
        }
        return type == "cu8" ? (static_cast<float>(static_cast<unsigned char>(bytes[at])) - 127.5F) / 127.5F
                             : static_cast<float>(static_cast<signed char>(bytes[at])) / 128.0F;
    };
    for (std::size_t n = 0; n < count; n++) {
        samples[n] = {read(2 * part * n), read(2 * part * n + part)};
    }
    std::vector<kiss_fft_cpx> bins(length);
    kiss_fft_cfg config = kiss_fft_alloc(static_cast<int>(length), 0, nullptr, nullptr);
    kiss_fft(config, samples.data(), bins.data());
    kiss_fft_free(config);
    Periodogram result{std::vector<double>(length), json["global"]["core:sample_rate"],
                       json["captures"][0]["core:frequency"], 0.0};
    result.duration_s = static_cast<double>(count) / result.rate_hz;
    for (std::size_t k = 0; k < length; k++) {
        const kiss_fft_cpx bin = bins[(k + length / 2) % length];
        result.power[k] = (static_cast<double>(bin.r) * bin.r + static_cast<double>(bin.i) * bin.i) /
                          (static_cast<double>(count) * static_cast<double>(length));
    }
    return result;
}

/// The narrowest-edged band that holds nearly all of the power: 0.5 % left out on either side.
std::pair<double, double> Occupied_Band(const Periodogram& file) {
    const double total = file.Between(-1e12, 1e12);
    double sum = 0.0;
    std::pair<double, double> band;
    for (std::size_t i = 0; i < file.power.size(); i++) {
        const double next = sum + file.power[i];
        if (sum < 0.005 * total && next >= 0.005 * total) band.first = file.Frequency(i);
        if (sum < 0.995 * total && next >= 0.995 * total) band.second = file.Frequency(i);
        sum = next;
    }
    return band;
}

void Compare_With_File(const fs::path& meta, const Periodogram& whole, int rbw_index, bool fft) {
    SCOPED_TRACE(meta.filename().string() + (fft ? " FFT" : " swept"));
    const double rbw = virtual_board::Rbw_Hertz(rbw_index, false);
    const Periodogram file = whole.In_Steps_Of(rbw / 100);
    const double span = 0.98 * file.rate_hz;
    const double point = span / 600.0;
    Core_Rig rig(Load_Recording(meta, {}));
    Message message = Sweep_Message(whole.center_hz, span, rbw_index, fft);
    message[platform::sweep_attenuation] = 10.0;  // as the instrument has it; without any, full scale compresses the mixer
    // Sweeps that do not keep step with the loop, so that every point sees all of it in the end.
    message[platform::sweep_time] = 0.0617231;
    std::vector<double> mean(601);
    const int rounds = file.duration_s > 0.1 ? 10 : 3;
    constexpr int sweeps = 10;
    for (int round = 0; round < rounds; round++) {
        const Trace trace = rig.Sweep(message, sweeps);
        for (std::size_t i = 0; i < trace.average.size(); i++) {
            mean[i % 601] += std::pow(10.0, 0.1 * trace.average[i]) / (rounds * sweeps);
        }
    }
    const auto frequency = [&](std::size_t i) { return whole.center_hz + (static_cast<double>(i) - 300.0) * point; };

    auto [low, high] = Occupied_Band(file);
    low = std::max(low - 2.0 * rbw, whole.center_hz - 0.5 * span);
    high = std::min(high + 2.0 * rbw, whole.center_hz + 0.5 * span);
    double measured = 0.0;
    for (std::size_t i = 0; i < mean.size(); i++) {
        measured += frequency(i) >= low && frequency(i) < high ? mean[i] * point / (1.0645 * rbw) : 0.0;
    }
    const double expected = 10.0 * std::log10(file.Between(low, high));
    EXPECT_NEAR(10.0 * std::log10(measured), expected, 1.0);

    // The file seen through a filter of the same width that moves over each point.
    std::vector<double> seen(601);
    const double reach = 0.5 * point + 2.5 * rbw;
    for (std::size_t i = 0; i < seen.size(); i++) {
        const double from = frequency(i) - reach - file.Frequency(0);
        auto k = static_cast<std::size_t>(std::max(0.0, from / file.Bin_Hz()));
        for (; k < file.power.size() && file.Frequency(k) < frequency(i) + reach; k++) {
            const double offset = std::abs(file.Frequency(k) - frequency(i));
            const double x = 2.0 * std::max(0.0, offset - 0.5 * point) / rbw;
            seen[i] += file.power[k] * std::exp(-M_LN2 * x * x);
        }
    }
    const auto top = static_cast<std::size_t>(Place_Of_Highest(mean));
    const auto file_top = static_cast<std::size_t>(Place_Of_Highest(seen));
    const bool near = std::abs(frequency(top) - frequency(file_top)) <= 2.0 * rbw + point;
    // Where the spectrum is as good as flat its highest place is chance; then the file must be as strong there.
    const double below = 10.0 * std::log10(seen[file_top] / seen[top]);
    EXPECT_TRUE(near || below < 1.0) << "at " << frequency(top) << ", the file at " << frequency(file_top) << ", there "
                                     << below << " dB below";
}

TEST(Real_Recordings, PowerAndPlaceAgreeWithTheFiles) {
    const char* folder = std::getenv("KVA720_RECORDINGS");
    if (folder == nullptr) {
        GTEST_SKIP() << "KVA720_RECORDINGS names no folder of recordings";
    }
    int files = 0;
    for (const auto& entry : fs::directory_iterator(folder)) {
        if (entry.path().extension() == ".sigmf-meta") {
            const Periodogram file = Analyse(entry.path());
            Compare_With_File(entry.path(), file, 4, false);
            Compare_With_File(entry.path(), file, 5, true);
            files++;
        }
    }
    EXPECT_GT(files, 0);
}

}  // namespace
