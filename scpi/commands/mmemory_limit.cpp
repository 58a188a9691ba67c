#include <array>
#include <cerrno>

#include "files/limit_file.h"
#include "files/store.h"
#include "records/limit.h"
#include "scpi/commands/families.h"
#include "scpi/commands/shapes.h"
#include "scpi/readers.h"

namespace {

using namespace shapes;

constexpr int media_full = -254, file_name_not_found = -256, data_corrupt = -230, file_open_error = 300;

/// act takes the line, from 0, and the path of its file, and returns 0 or the code of an error.
template <class Act>
int With_File(ScpiContext& context, Act&& act) {
    std::int32_t number = 0;
    std::array<char, longest_file_name + 1> name{};
    if (!SCPI_ParamInt(context, &number, true)) return failed;
    if (!Take_Text(context, While_Busy::refused, name.data(), name.size())) return failed;
    if (number < 1 || number > static_cast<std::int32_t>(limit_lines)) return Refuse(context, data_out_of_range);
    const Stored_File file = File_In_Store(name.data(), limit_file_ending);
    if (file.error != 0) return Refuse(context, file.error);
    return Apply(context, [&] { return act(static_cast<std::size_t>(number - 1), file.path); });
}

int Store_Limit(std::size_t line, const std::string& path) {
    if (!Limit_Line_To_Save(line)) return settings_conflict;
    if (limitline_savefile(path, line)) return 0;
    return errno == ENOSPC || errno == EDQUOT ? media_full : file_open_error;
}

int Load_Limit(std::size_t line, const std::string& path) {
    switch (read_savefile(path, line)) {
        case Limit_File::missing: return file_name_not_found;
        case Limit_File::unreadable: return file_open_error;
        case Limit_File::damaged: return data_corrupt;
        default: return 0;
    }
}

int MMEMory_StoreLimit(ScpiContext& context) { return With_File(context, Store_Limit); }
int MMEMory_LoadLimit(ScpiContext& context) { return With_File(context, Load_Limit); }

constexpr auto rows = std::to_array<ScpiCommand>({
    {":MMEMory:STORe:LIMit", MMEMory_StoreLimit},
    {":MMEMory:LOAD:LIMit", MMEMory_LoadLimit},
});

}  // namespace

std::span<const ScpiCommand> families::Mmemory_Limit() { return rows; }
