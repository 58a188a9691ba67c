#pragma once
#include <filesystem>
#include <memory>
#include <optional>

#include "virtual_board/input.h"

namespace virtual_board {

struct Recording_Options {
    std::optional<double> rate_hz;       ///< instead of what the metadata says, or where there is none
    std::optional<double> frequency_hz;  ///< centre, likewise
    double level_dbm = 0.0;              ///< level at the input of a constant |x| = 1
};

/// Reads I/Q samples to play in a loop: SigMF (its metadata, its data, or their common stem) or a bare file whose
/// extension tells the data type (.cu8 .cs8 .ci8 .cs16 .ci16 .cf32 .ci32).
/// Throws std::runtime_error with one line that names the file and what is wrong with it.
std::shared_ptr<const Input> Load_Recording(const std::filesystem::path& path, const Recording_Options& options = {});

}  // namespace virtual_board
