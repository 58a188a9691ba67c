#include "keys/messages.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "display/text.h"
#include "keys/notice.h"
#include "keys/words.h"
#include "palette.h"
#include "records/keystate.h"

namespace {

constexpr display::Rect message_area{258, 570, 392, 28};

struct Message {
    int number;
    std::string_view text;   ///< English
    int covers = covers_rbw;  ///< of a warning, for Check_warning
};

constexpr auto attentions = std::to_array<Message>({
    {5, "The frequency axis was changed"},
    {7, "Shutting down"},
    {8, "Remote control - Preset returns to local"},
    {21, "The word list is of another version"},
    {24, "The sweep is on hold"},
    {25, "The instrument was recovered"},
    {60, "An address is four numbers from 0 to 255"},
    {61, "A date is typed as year, month, day: 20270131"},
    {62, "A time is typed as hours, minutes, seconds: 235959"},
    {63, "Autoset is looking for a signal"},
    {64, "Autoset: no signal stands out of the noise"},
    {65, "Autoset: no sweep has come"},
    {66, "Autoset works in the swept spectrum alone"},
    {attention_no_words, "There is no word list of this language"},
});

constexpr auto warnings = std::to_array<Message>({
    {warning_limited, "Set to the nearest possible value"},
    {warning_not_now, "Not possible in this mode"},
    {warning_not_fitted, "Not fitted"},
    {warning_span_or_bandwidth, "Not possible with this span and bandwidth"},
    {warning_zero_span_rbw, "Min. RBW is 10 kHz at zero span"},
    {warning_sweep_time_long, "Sweep time exceeds 1 ks", covers_time_long},
    {warning_sweep_time_short, "Min. sweep time for the present RBW", covers_time_short},
    {warning_uncal, "UNCAL: the sweep needs more than 1 ks", covers_uncal},
});

std::string_view shown;  ///< English text of the message that stands

/// The message that is shown now; null for a number without one.
const Message* Show(std::span<const Message> messages, int number) {
    const auto message = std::ranges::find(messages, number, &Message::number);
    if (message == messages.end()) return nullptr;
    shown = message->text;
    Forget_Notice();  // its end would take this message away
    Redraw_Message();
    return &*message;
}

}  // namespace

void ThirdAttentionwords(int number) { Show(attentions, number); }

void display_warning(int number) {
    if (const Message* message = Show(warnings, number)) Check_warning = message->covers;
}

void clear_warning() {
    Check_warning = 0;
    Clear_Attention();
}

void Clear_Attention() {
    shown = {};
    display::Clear(fbOsd0, message_area);
}

void Redraw_Message() {
    if (shown.empty()) return;
    display::Draw_Field(fbOsd0, message_area, 24, Translated(shown),
                        {face_bold, 13, display::palette::attention, display::palette::bar});
}
