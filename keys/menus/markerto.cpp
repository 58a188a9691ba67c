#include "keys/handlers.h"
#include "keys/menus/entry.h"
#include "keys/menus/rows.h"
#include "keys/messages.h"
#include "keys/pages.h"
#include "keys/soft_keys.h"
#include "records/freqs.h"
#include "trace/marker_to.h"
#include "trace/markers.h"

namespace {

using namespace keys;
using namespace menus;

enum To_Key { center_key, step_key, start_key, stop_key, reference_key, delta_span_key, delta_center_key };

void fMarkertoBase(int key) {
    No_Entry();
    const int marker = Active_Marker();
    int code = 0;
    switch (key) {
        case center_key: code = Marker_To_Center(marker); break;
        case step_key: code = Marker_To_Step(marker); break;
        case start_key: code = Marker_To_Start(marker); break;
        case stop_key: code = Marker_To_Stop(marker); break;
        case reference_key: code = Marker_To_Reference(marker); break;
        case delta_span_key: code = Marker_To_Span(marker); break;
        case delta_center_key: code = Delta_To_Center(marker); break;
        default: break;
    }
    if (code != 0) display_warning(warning_not_now);
}

constexpr auto rows = std::to_array<Page_Row>({
    {enMarkerToBig,
     {Key(enMarkerToCenter), Key(enMarkerToStep), Key(enMarkerToStart), Key(enMarkerToStop), Key(enMarkerToRef),
      Key(enDeltaToSpan), Key(enDeltaToCenter)},
     nullptr, fMarkertoBase},
});

/// In zero span only the level is of use, and what a pair sets needs a delta marker.
void Grey_Keys(Menu_Page& page) {
    const bool time = Zero_Span_Axis();
    const auto marker = static_cast<std::size_t>(Active_Marker());
    const bool pair = Marker_Data.delta[marker][static_cast<std::size_t>(ScreenActive)] != 0;
    page.disabled = {time, time, time, time, 0, time || !pair, time || !pair};
}

}  // namespace

std::array<Menu_Page, 1> MarkertoLink = Pages<1>(17, rows);

void menus::Reset_Markerto() { MarkertoLink = Pages<1>(17, rows); }

void Markerto_HwKey() {
    Grey_Keys(MarkertoLink[0]);
    menus::Open_First_Page(MarkertoLink[0]);
}

void Markerto_SwKey(int key, char) { Press_Soft_Key(key, "Markerto_SwKey error"); }
