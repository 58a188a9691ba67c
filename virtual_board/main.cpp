#include <CLI/CLI.hpp>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <exception>
#include <memory>
#include <optional>
#include <poll.h>
#include <string>

#include "platform/root.h"
#include "platform/stop.h"
#include "virtual_board/board.h"
#include "virtual_board/recording.h"
#include "virtual_board/scene.h"
#include "virtual_board/seed.h"

namespace {

struct Options {
    std::string root;
    std::string share = virtual_board::Default_Share();
    std::string model = "KVA7230";
    std::string scene;
    std::string recording;
    virtual_board::Recording_Options recording_options;
    virtual_board::Core_Options core;
    double trigger_period_s = 0.0, trigger_width_s = 0.0;
};

/// A finite number within limits, in the unit given.
CLI::Validator Number(double low, double high, const std::string& unit) {
    return CLI::Validator(
        [=](const std::string& text) {
            double value = 0.0;
            if (!CLI::detail::lexical_cast(text, value) || !std::isfinite(value))
                return "'" + text + "' is no finite number";
            if (value < low || value > high)
                return "'" + text + "' is not from " + CLI::detail::to_string(low) + " to " +
                       CLI::detail::to_string(high) + " " + unit;
            return std::string();
        },
        unit);
}

/// A whole number from 0; the library's own reading lets a sign wrap round.
std::string Check_Seed(const std::string& text) {
    const bool digits = !text.empty() && text.size() < 20 && text.find_first_not_of("0123456789") == std::string::npos;
    return digits ? std::string() : "'" + text + "' is no whole number from 0";
}

std::string Check_Name(const std::string& text) {
    return text.empty() ? "the file has no name" : std::string();
}

void Declare(CLI::App& app, Options& options) {
    app.add_option("--root", options.root, "instrument root")->required();
    app.add_option("--share", options.share, "the instrument's files from the build")->capture_default_str();
    app.add_option("--model", options.model, "instrument model")
        ->check(CLI::IsMember({"KVA7200", "KVA7200B", "KVA7230"}))
        ->capture_default_str();
    const CLI::Validator file(Check_Name, "FILE");
    auto* scene = app.add_option("--scene", options.scene, "scene file as input (a demonstration scene)")->check(file);
    auto* recording = app.add_option("--recording", options.recording, "recording as input, SigMF or bare");
    recording->check(file);
    recording->excludes(scene);
    app.add_option("--recording-rate", options.recording_options.rate_hz, "sample rate of the recording")
        ->check(Number(1.0, 1e12, "Hz"))
        ->needs(recording);
    app.add_option("--recording-frequency", options.recording_options.frequency_hz, "its centre frequency")
        ->check(Number(0.0, 1e12, "Hz"))
        ->needs(recording);
    app.add_option("--recording-level", options.recording_options.level_dbm, "level of its full scale")
        ->check(Number(-200.0, 100.0, "dBm"))
        ->needs(recording)
        ->capture_default_str();
    auto* period = app.add_option("--trigger-period", options.trigger_period_s, "pulses at the trigger input, one a period");
    period->check(Number(1e-6, 1000.0, "s"));
    app.add_option("--trigger-width", options.trigger_width_s, "their width (half the period)")
        ->check(Number(1e-7, 1000.0, "s"))
        ->needs(period);
    app.add_flag("--fast", options.core.fast, "sweeps take no more time than needed");
    app.add_option("--seed", options.core.seed, "seed of the noise")
        ->check(CLI::Validator(Check_Seed, "N"))
        ->capture_default_str();
}

std::shared_ptr<const virtual_board::Input> Load_Input(const Options& options) {
    if (!options.recording.empty())
        return virtual_board::Load_Recording(options.recording, options.recording_options);
    return virtual_board::Load_Scene(options.scene.empty() ? options.share + "/scenes/demo.toml" : options.scene);
}

virtual_board::Trigger_Pulses Pulses(const Options& options) {
    const double width = options.trigger_width_s > 0.0 ? options.trigger_width_s : 0.5 * options.trigger_period_s;
    if (width > 0.0 && width >= options.trigger_period_s)
        throw std::runtime_error("--trigger-width: a pulse must be shorter than the period");
    return {.period_ns = std::llround(options.trigger_period_s * 1e9), .width_ns = std::llround(width * 1e9)};
}

int Run(const Options& options) {
    platform::Set_Root(options.root);
    if (platform::Root().empty())
        throw std::runtime_error("the instrument root must be a folder of its own");
    virtual_board::Core_Options core = options.core;
    core.pulses = Pulses(options);
    const auto input = Load_Input(options);
    virtual_board::Seed_Root(options.share, options.model);
    virtual_board::Board board(input, {.core = core});

    struct sigaction stop {};
    stop.sa_handler = [](int) { platform::Request_Stop(); };
    for (const int number : {SIGINT, SIGTERM, SIGHUP})
        ::sigaction(number, &stop, nullptr);
    board.Start();
    std::puts("board ready");
    std::fflush(stdout);

    while (!platform::Stop_Requested()) {
        pollfd wait{platform::Stop_Fd(), POLLIN, 0};
        ::poll(&wait, 1, -1);
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    constexpr int status_bad_start = 2;
    Options options;
    CLI::App app("The virtual board of a KVA720 spectrum analyzer.", "kva720-board");
    Declare(app, options);
    try {
        app.parse(argc, argv);
        return Run(options);
    } catch (const CLI::Success&) {
        std::fputs(app.help().c_str(), stdout);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "kva720-board: %s\n", error.what());
        return status_bad_start;
    }
}
