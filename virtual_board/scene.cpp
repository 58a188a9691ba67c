#include "virtual_board/scene.h"

#include <toml++/toml.h>
#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "virtual_board/modulation.h"
#include "virtual_board/random.h"

namespace virtual_board {

namespace {

constexpr std::uintmax_t most_bytes = 1u << 20;
constexpr std::size_t most_lines = 200'000;
constexpr double lowest_level_dbm = -200.0, highest_level_dbm = 40.0;
constexpr double highest_frequency_hz = 1e11;
constexpr double most_modulation_index = 1000.0;
constexpr std::size_t most_bits = 256;
constexpr std::size_t most_noise_bands = 256, most_drifting = 64;
constexpr double most_comb_lines = 10'000.0;
constexpr double most_deviation_over_rate = 20.0;  ///< of keyed carriers
constexpr double shortest_width_s = 1e-9;
constexpr double most_period_over_rise = 4000.0;  ///< bounds the lines of one keyed carrier
constexpr double rise_of_pulse = 0.1, rise_of_bit = 0.05, rise_of_shift = 0.1;

/// Bounds of a number: lowest (left out where open) and highest.
struct Range {
    double low, high;
    bool open = false;
};

constexpr Range frequency_range = {0.0, highest_frequency_hz};
constexpr Range positive_range = {0.0, highest_frequency_hz, true};
constexpr Range period_range = {0.1, 1e6};  ///< of a drift, s
constexpr Range level_range = {lowest_level_dbm, highest_level_dbm};

/// Reads one table of a scene; every error names file, line and key.
class Table_Reader {
public:
    Table_Reader(const toml::table& table, const std::string& file, std::string name)
        : table(table), file(file), name(std::move(name)) {}

    [[noreturn]] void Fail(const toml::node& at, const std::string& key, const std::string& what) const {
        throw std::runtime_error(file + ":" + std::to_string(at.source().begin.line) + ": " + key + ": " + what);
    }

    /// Refuses keys that are none of the known.
    void Allow(std::initializer_list<std::string_view> known) const {
        for (const auto& [key, node] : table) {
            if (std::ranges::find(known, key.str()) == known.end()) {
                throw std::runtime_error(file + ":" + std::to_string(key.source().begin.line) + ": " + name +
                                         std::string(key.str()) + ": unknown key");
            }
        }
    }

    const toml::node& Node(const char* key) const {
        const toml::node* node = table.get(key);
        if (node == nullptr) {
            Fail(table, name + key, "missing");
        }
        return *node;
    }

    bool Has(const char* key) const { return table.contains(key); }

    double Number(const char* key, Range range) const { return In_Range(key, Plain(key), range); }

    /// Hz, as a number or as text with a unit.
    double Frequency(const char* key, Range range) const {
        const toml::node& node = Node(key);
        if (!node.is_string()) {
            return Number(key, range);
        }
        const std::optional<double> value = Parse_Frequency(**node.as_string());
        if (!value) {
            Fail(node, name + key, "not a frequency such as 1e6 or \"433.92 MHz\"");
        }
        return In_Range(key, *value, range);
    }

    std::string Text(const char* key) const {
        const toml::node& node = Node(key);
        if (!node.is_string()) {
            Fail(node, name + key, "not a string");
        }
        return **node.as_string();
    }

    std::optional<Table_Reader> Inner(const char* key) const {
        if (!Has(key)) {
            return std::nullopt;
        }
        const toml::node& node = Node(key);
        if (!node.is_table()) {
            Fail(node, name + key, "not a table such as {rate = 1e3}");
        }
        return Table_Reader(*node.as_table(), file, name + key + ".");
    }

    std::string Name(const char* key) const { return name + key; }

private:
    double Plain(const char* key) const {
        const toml::node& node = Node(key);
        if (!node.is_number()) {
            Fail(node, name + key, "not a number");
        }
        return *node.value<double>();
    }

    double In_Range(const char* key, double value, Range range) const {
        if (!(value >= range.low && value <= range.high) || (range.open && value == range.low)) {
            const char* above = range.open ? "not above " : "not from ";
            Fail(Node(key), name + key,
                 above + Plain_Text(range.low) + (range.open ? " up to " : " to ") + Plain_Text(range.high));
        }
        return value;
    }

    static std::string Plain_Text(double value) {
        std::array<char, 32> text{};
        const auto end = std::to_chars(text.data(), text.data() + text.size(), value);
        return {text.data(), end.ptr};
    }

    static std::optional<double> Parse_Frequency(std::string_view text) {
        double value = 0.0;
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
        if (error != std::errc()) {
            return std::nullopt;
        }
        std::string_view unit(end, static_cast<std::size_t>(text.data() + text.size() - end));
        unit.remove_prefix(std::min(unit.find_first_not_of(' '), unit.size()));
        constexpr std::array<std::pair<std::string_view, double>, 5> units = {
            {{"", 1.0}, {"Hz", 1.0}, {"kHz", 1e3}, {"MHz", 1e6}, {"GHz", 1e9}}};
        for (const auto& [name, factor] : units) {
            if (unit == name) {
                return value * factor;
            }
        }
        return std::nullopt;
    }

    const toml::table& table;
    const std::string& file;
    std::string name;
};

std::vector<Line> Read_Carrier(const Table_Reader& reader, double phase) {
    reader.Allow({"frequency", "level", "am", "fm", "name"});
    std::optional<Am> am;
    if (const auto inner = reader.Inner("am")) {
        inner->Allow({"depth", "rate"});
        am = {inner->Number("depth", {0.0, 1.0}), inner->Frequency("rate", positive_range)};
    }
    std::optional<Fm> fm;
    if (const auto inner = reader.Inner("fm")) {
        inner->Allow({"deviation", "rate"});
        fm = {inner->Frequency("deviation", frequency_range), inner->Frequency("rate", positive_range)};
        if (fm->deviation_hz > most_modulation_index * fm->rate_hz) {
            inner->Fail(inner->Node("deviation"), inner->Name("deviation"), "more than 1000 times the rate");
        }
    }
    return Modulated_Carrier(reader.Frequency("frequency", frequency_range), reader.Number("level", level_range), am,
                             fm, phase);
}

std::vector<Line> Read_Pulse(const Table_Reader& reader, double phase) {
    reader.Allow({"frequency", "level", "rate", "width", "name"});
    const double period = 1.0 / reader.Frequency("rate", positive_range);
    const double width = reader.Number("width", {shortest_width_s, 1e9});
    if (width > period || period > most_period_over_rise * rise_of_pulse * width) {
        reader.Fail(reader.Node("width"), reader.Name("width"), "not from 1/400 of the period to the whole");
    }
    const On_Time on = {0.0, width};
    return Keyed_Carrier(reader.Frequency("frequency", frequency_range), reader.Number("level", level_range), period,
                         {&on, 1}, rise_of_pulse * width, phase);
}

std::string Read_Bits(const Table_Reader& reader) {
    std::string bits = reader.Text("bits");
    if (bits.empty() || bits.size() > most_bits || bits.find_first_not_of("01") != std::string::npos) {
        reader.Fail(reader.Node("bits"), reader.Name("bits"), "not 1 to 256 digits 0 and 1");
    }
    return bits;
}

std::vector<Line> Read_Fsk(const Table_Reader& reader, double phase) {
    reader.Allow({"frequency", "level", "deviation", "bits", "bit_rate", "name"});
    const std::string bits = Read_Bits(reader);
    const double rate = reader.Frequency("bit_rate", positive_range);
    const double deviation = reader.Frequency("deviation", frequency_range);
    if (deviation > most_deviation_over_rate * rate) {
        reader.Fail(reader.Node("deviation"), reader.Name("deviation"), "more than 20 times the bit rate");
    }
    std::vector<bool> set;
    for (const char bit : bits) {
        set.push_back(bit == '1');
    }
    return Frequency_Keyed_Carrier(reader.Frequency("frequency", frequency_range), reader.Number("level", level_range),
                                   deviation, set, 1.0 / rate, rise_of_shift / rate, phase);
}

std::vector<Line> Read_Comb(const Table_Reader& reader, double phase) {
    reader.Allow({"frequency", "spacing", "count", "level", "name"});
    const double first = reader.Frequency("frequency", frequency_range);
    const double spacing = reader.Frequency("spacing", positive_range);
    const double count = reader.Number("count", {1.0, most_comb_lines});
    const double amplitude = std::sqrt(To_Milliwatts(reader.Number("level", level_range)));
    if (count != std::floor(count)) {
        reader.Fail(reader.Node("count"), reader.Name("count"), "not a whole number");
    }
    if (first + spacing * count > highest_frequency_hz) {
        reader.Fail(reader.Node("count"), reader.Name("count"), "lines beyond 1e+11 Hz");
    }
    Random random(static_cast<std::uint64_t>(phase * 0x1p40));
    std::vector<Line> lines;
    for (int i = 0; i < static_cast<int>(count); i++) {
        lines.push_back(Make_Line(first + spacing * i, amplitude, 2.0 * M_PI * random.Uniform()));
    }
    return lines;
}

/// The drifting carrier that a carrier's table may tell of instead of lines.
std::optional<Drifting_Line> Read_Drift(const Table_Reader& reader, double phase) {
    const auto inner = reader.Inner("drift");
    if (!inner) {
        return std::nullopt;
    }
    reader.Allow({"frequency", "level", "drift", "name"});
    inner->Allow({"range", "period"});
    return Make_Drifting_Line(reader.Frequency("frequency", frequency_range),
                              std::sqrt(To_Milliwatts(reader.Number("level", level_range))),
                              inner->Frequency("range", frequency_range), inner->Number("period", period_range), phase);
}

std::vector<Line> Read_Ask(const Table_Reader& reader, double phase) {
    reader.Allow({"frequency", "level", "bits", "bit_rate", "name"});
    const std::string bits = Read_Bits(reader);
    const double bit = 1.0 / reader.Frequency("bit_rate", positive_range);
    std::vector<On_Time> on;
    for (std::size_t i = 0; i < bits.size(); i++) {
        if (bits[i] == '1') {
            on.push_back({bit * static_cast<double>(i), bit});
        }
    }
    return Keyed_Carrier(reader.Frequency("frequency", frequency_range), reader.Number("level", level_range),
                         bit * static_cast<double>(bits.size()), on, rise_of_bit * bit, phase);
}

Noise_Band Read_Noise(const Table_Reader& reader) {
    reader.Allow({"center", "bandwidth", "level", "name"});
    return {.center_hz = reader.Frequency("center", frequency_range),
            .bandwidth_hz = reader.Frequency("bandwidth", {1.0, highest_frequency_hz}),
            .power_mw = To_Milliwatts(reader.Number("level", level_range))};
}

/// Calls with a reader for every table of an array of tables; an absent array is an empty one.
template <typename Call>
void For_Each_Table(const toml::table& root, const std::string& file, const char* key, Call call) {
    const toml::node* node = root.get(key);
    if (node == nullptr) {
        return;
    }
    const Table_Reader root_reader(root, file, "");
    if (!node->is_array_of_tables()) {
        root_reader.Fail(*node, key, std::string("not written as [[") + key + "]]");
    }
    for (const toml::node& element : *node->as_array()) {
        call(element, Table_Reader(*element.as_table(), file, std::string(key) + "."));
    }
}

/// The parser's message on one line.
std::string One_Line(std::string_view text) {
    std::string line(text);
    std::ranges::replace_if(
        line, [](char c) { return static_cast<unsigned char>(c) < ' '; }, ' ');
    return line;
}

toml::table Parse_Toml(std::string_view text, const std::string& file) {
    try {
        return toml::parse(text, file);
    } catch (const toml::parse_error& error) {
        throw std::runtime_error(file + ":" + std::to_string(error.source().begin.line) +
                                 ": syntax: " + One_Line(error.description()));
    }
}

}  // namespace

std::shared_ptr<const Input> Parse_Scene(std::string_view text, const std::string& name) {
    const toml::table root = Parse_Toml(text, name);
    const Table_Reader reader(root, name, "");
    reader.Allow({"seed", "carrier", "comb", "pulse", "ask", "fsk", "noise"});
    const double seed = reader.Has("seed") ? reader.Number("seed", {0.0, 0x1p53}) : 1.0;
    Random random(Combine_Seed(static_cast<std::uint64_t>(seed), 0));

    auto input = std::make_shared<Input>();
    const auto add_lines = [&](const char* key, auto read) {
        For_Each_Table(root, name, key, [&](const toml::node& node, const Table_Reader& table) {
            const double phase = 2.0 * M_PI * random.Uniform();
            const bool may_drift = std::string_view(key) == "carrier";
            if (const auto drifting = may_drift ? Read_Drift(table, phase) : std::nullopt) {
                input->drifting.push_back(*drifting);
            } else {
                const std::vector<Line> lines = read(table, phase);
                input->lines.insert(input->lines.end(), lines.begin(), lines.end());
            }
            if (input->lines.size() > most_lines || input->drifting.size() > most_drifting) {
                table.Fail(node, key,
                           input->lines.size() > most_lines ? "more than 200000 spectral lines in the scene"
                                                            : "more than 64 drifting carriers");
            }
        });
    };
    // The mixer carries a keyed carrier's whole level while it is on, its lines hold the mean power.
    const auto keyed = [&](auto read) {
        return [&input, read](const Table_Reader& table, double phase) {
            std::vector<Line> lines = read(table, phase);
            double mean = 0.0;
            for (const Line& line : lines) {
                mean += line.amplitude * line.amplitude;
            }
            input->keyed_excess_mw += std::max(0.0, To_Milliwatts(table.Number("level", level_range)) - mean);
            return lines;
        };
    };
    add_lines("carrier", Read_Carrier);
    add_lines("comb", Read_Comb);
    add_lines("pulse", keyed(Read_Pulse));
    add_lines("ask", keyed(Read_Ask));
    add_lines("fsk", Read_Fsk);
    For_Each_Table(root, name, "noise", [&](const toml::node& node, const Table_Reader& table) {
        input->noise.push_back(Read_Noise(table));
        if (input->noise.size() > most_noise_bands) {
            table.Fail(node, "noise", "more than 256 noise bands in the scene");
        }
    });
    Sort_Lines(*input);
    return input;
}

std::shared_ptr<const Input> Load_Scene(const std::filesystem::path& path) {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    std::ifstream stream(path);
    if (error || !stream) {
        throw std::runtime_error(path.string() + ": the scene cannot be read");
    }
    if (size > most_bytes) {
        throw std::runtime_error(path.string() + ": the scene is longer than a mebibyte");
    }
    const std::string text{std::istreambuf_iterator<char>(stream), {}};
    return Parse_Scene(text, path.string());
}

}  // namespace virtual_board
