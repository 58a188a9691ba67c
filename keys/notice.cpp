#include "keys/notice.h"

#include <optional>

#include "display/text.h"
#include "keys/messages.h"
#include "keys/words.h"
#include "palette.h"
#include "platform/clock.h"

namespace {

constexpr display::Rect message_area{258, 570, 392, 28};
constexpr std::chrono::seconds notice_time{2};
std::optional<platform::Duration> notice_end;

}  // namespace

void Show_Notice(std::string_view text) {
    display::Draw_Field(fbOsd0, message_area, 24, Translated(text),
                        {face_regular, 13, display::palette::value, display::palette::bar});
    notice_end = platform::Now() + notice_time;
}

void End_Notice_In_Time() {
    if (!notice_end || platform::Now() < *notice_end) return;
    notice_end.reset();
    Clear_Attention();
}

void Forget_Notice() { notice_end.reset(); }
