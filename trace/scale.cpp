#include "trace/scale.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "keys/level_units.h"
#include "records/amp.h"
#include "records/freqs.h"
#include "records/normalisation.h"
#include "records/sys.h"
#include "records/trace.h"

namespace {

constexpr int divisions = 10, linear_rows = 450;
constexpr double farthest = 30'000;  ///< rows that a 16-bit row can hold

std::size_t Screen() { return static_cast<std::size_t>(ScreenActive); }

/// The row so many rows below the top.
std::int16_t Row(double below, const Row_Scale& scale, bool clamp) {
    if (!(below < farthest)) return static_cast<std::int16_t>(clamp ? scale.bottom : farthest);
    const int row = scale.top + static_cast<int>(std::max(below, -farthest));
    return static_cast<std::int16_t>(clamp ? std::clamp(row, scale.top, scale.bottom) : row);
}

double Rows_By_Voltage(double part, int rows) { return std::round(rows * (1 - part)); }

/// Rows of the linear scale by decibels below its top: the same as by the voltage, without a power of ten for each point.
class Linear_Rows {
public:
    Linear_Rows() {
        for (int row = 1; row <= linear_rows; ++row) begins_[static_cast<std::size_t>(row)] = Begin(row);
        begins_[linear_rows + 1] = std::numeric_limits<double>::infinity();
        int row = 0;
        for (std::size_t i = 0; i < guesses_.size(); ++i) {
            while (begins_[static_cast<std::size_t>(row) + 1] <= static_cast<double>(i) / guesses_per_decibel) ++row;
            guesses_[i] = static_cast<std::uint16_t>(row);
        }
    }
    /// Row below the top of a level 0 dB or more below it.
    int Below(double decibels) const {
        const double place = decibels * guesses_per_decibel;
        if (!(place < static_cast<double>(guesses_.size()))) return linear_rows;
        const std::size_t row = guesses_[static_cast<std::size_t>(place)];
        return static_cast<int>(row) + (decibels >= begins_[row + 1] ? 1 : 0);
    }

private:
    static constexpr int guesses_per_decibel = 64;  ///< so many that no two rows begin between two guesses
    static constexpr std::size_t guesses = 60 * guesses_per_decibel;

    static bool Reaches(double decibels, int row) {
        return Rows_By_Voltage(std::pow(10, -decibels / 20), linear_rows) >= row;
    }
    /// The fewest decibels at which a level stands on the row.
    static double Begin(int row) {
        constexpr double far = 1000;
        double begin = -20 * std::log10(1 - (row - 0.5) / linear_rows);
        while (!Reaches(begin, row)) begin = std::nextafter(begin, far);
        while (Reaches(std::nextafter(begin, 0), row)) begin = std::nextafter(begin, 0);
        return begin;
    }

    std::array<double, linear_rows + 2> begins_{};
    std::array<std::uint16_t, guesses> guesses_{};
};

const Linear_Rows linear;

std::int16_t Linear_Row(double below, const Row_Scale& scale, bool clamp) {
    const int rows = divisions * scale.division;
    if (clamp && !(below > 0)) return static_cast<std::int16_t>(std::isnan(below) ? scale.bottom : scale.top);
    if (below >= 0 && rows == linear_rows) return Row(linear.Below(below), scale, clamp);
    return Row(Rows_By_Voltage(std::pow(10, -below / 20), rows), scale, clamp);
}

/// What a normalised trace is drawn higher, dB.
int Normalised_Higher(int code) {
    if (!Sys_Data.tracking_normalised) return 0;
    const int scales_in_ten = divisions / Db_Per_Division(code);
    return TG_Pos_Diff_Value - TG_Pos_Diff_Value / scales_in_ten;
}

}  // namespace

std::int16_t dBm2pixel(double dbm, const Row_Scale& scale, bool clamp) {
    const double below = static_cast<double>(scale.reference) - dbm;
    return Row(scale.division * below / Db_Per_Division(scale.code), scale, clamp);
}

std::int16_t VoltsTOpixel(double volts, double reference, const Row_Scale& scale, bool clamp) {
    return Row(Rows_By_Voltage(volts / reference, divisions * scale.division), scale, clamp);
}

std::int16_t dBmTOpixel(double dbm, const Row_Scale& scale, bool clamp) {
    if (scale.type == 0) return dBm2pixel(dbm, scale, clamp);
    return Linear_Row(static_cast<double>(scale.reference) - dbm, scale, clamp);
}

void dBmTOpixels(std::span<const float> dbm, const Row_Scale& scale, std::uint16_t* rows) {
    if (scale.type != 0) {
        for (const float level : dbm) {
            *rows++ = static_cast<std::uint16_t>(dBmTOpixel(static_cast<double>(level), scale, true));
        }
        return;
    }
    const double reference = scale.reference, division = scale.division, decibels = Db_Per_Division(scale.code);
    const int top = scale.top, bottom = scale.bottom;
    for (const float level : dbm) {
        const double below = division * (reference - static_cast<double>(level)) / decibels;
        const double held = below < farthest ? std::max(below, -farthest) : farthest;
        *rows++ = static_cast<std::uint16_t>(std::clamp(top + static_cast<int>(held), top, bottom));
    }
}

Row_Scale Active_Scale() {
    const int code = Amp.scale_code[Screen()] & 3;
    const int higher = Amp.scale_type[Screen()] == 0 ? Normalised_Higher(code) : 0;
    return {.code = code,
            .reference = Amp.reference[Screen()] - higher,
            .division = ScreenInf.division,
            .top = ScreenInf.clamp_top,
            .bottom = ScreenInf.clamp_bottom,
            .type = Amp.scale_type[Screen()]};
}

double Shown_Level_Offset() { return Amp.displayed_reference[Screen()] - Amp.reference[Screen()]; }

double Pixel2dBm(int row) {
    const Row_Scale scale = Active_Scale();
    if (scale.type == 0) {
        const double factor = 10.0 / Db_Per_Division(scale.code);
        return scale.reference - (row - scale.top) * 100.0 / factor / ScreenInf.height;
    }
    const double part = 1 - static_cast<double>(row - scale.top) / (divisions * scale.division);
    return part > 0 ? scale.reference + 20 * std::log10(part) : no_level;
}

double Line_Level(int line) {
    const double reference = Amp.displayed_reference[Screen()];
    if (Amp.scale_type[Screen()] == 0) return reference - line * Db_Per_Division(Amp.scale_code[Screen()] & 3);
    return line < divisions ? reference + 20 * std::log10(1 - static_cast<double>(line) / divisions) : no_level;
}
